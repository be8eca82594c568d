#include "support/TestServer.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>
#include <QUuid>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>

#include "support/TestSupport.h"

namespace testing_support {

namespace {
const char* const kServerBinary = "/usr/sbin/firebird";

// The folder of the installed engine's message file (the server looks for it beside its configuration).
QString MessageFile()
{
    for (const QString& lib : QDir(QStringLiteral("/usr/lib")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString candidate = Fmt("/usr/lib/%1/firebird/3.0/firebird.msg", lib);
        if (QFileInfo::exists(candidate))
            return candidate;
    }
    return {};
}

sockaddr_in Loopback(int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

// A port nobody listens on now (the kernel's choice of a free one).
int FreeLoopbackPort()
{
    const int s = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = Loopback(0);
    socklen_t length = sizeof address;
    int port = 0;
    if (s >= 0 && bind(s, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        getsockname(s, reinterpret_cast<sockaddr*>(&address), &length) == 0)
        port = ntohs(address.sin_port);
    if (s >= 0)
        close(s);
    return port;
}

bool Accepts(int port)
{
    const int s = socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = Loopback(port);
    const bool ok = s >= 0 && connect(s, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (s >= 0)
        close(s);
    return ok;
}

bool WriteText(const QString& path, const QString& text)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(text.toUtf8()) == text.toUtf8().size();
}

// The server dies with the test program, whatever ends it.
void DieWithParent() { prctl(PR_SET_PDEATHSIG, SIGKILL); }
}  // namespace

std::unique_ptr<TestServer> TestServer::Start(QString& error)
{
    if (!QFileInfo::exists(QString::fromLatin1(kServerBinary))) {
        error =
            Fmt("the Firebird server is not installed (%1); run scripts/bootstrap", QString::fromLatin1(kServerBinary));
        return nullptr;
    }
    std::unique_ptr<TestServer> server(new TestServer);
    if (!server->dir_.isValid()) {
        error = QStringLiteral("no temporary folder for the server");
        return nullptr;
    }
    // A free port may be taken between probing and listening: a few attempts.
    for (int attempt = 0; attempt < 5; ++attempt)
        if (server->Launch(error))
            return server;
    return nullptr;
}

bool TestServer::Launch(QString& error)
{
    const QString dir = dir_.path();
    port_ = FreeLoopbackPort();
    adminPassword_ = QUuid::createUuid().toString(QUuid::Id128).left(20);
    const QString message = MessageFile();
    if (port_ == 0 || message.isEmpty()) {
        error = QStringLiteral("no free port or no engine message file");
        return false;
    }
    QDir().mkpath(dir + QStringLiteral("/lock"));
    QFile::remove(dir + QStringLiteral("/firebird.msg"));
    QFile::remove(dir + QStringLiteral("/security.fdb"));
    QFile::link(message, dir + QStringLiteral("/firebird.msg"));
    const bool configured = WriteText(dir + QStringLiteral("/firebird.conf"), Fmt("RemoteBindAddress = 127.0.0.1\n"
                                                                                  "RemoteServicePort = %1\n"
                                                                                  "SecurityDatabase = %2/security.fdb\n"
                                                                                  "AuthServer = Srp\n"
                                                                                  "UserManager = Srp\n"
                                                                                  "ServerMode = Super\n",
                                                                                  port_, dir)) &&
                            WriteText(dir + QStringLiteral("/databases.conf"), QString()) &&
                            WriteText(dir + QStringLiteral("/plugins.conf"), QString());
    if (!configured) {
        error = Fmt("cannot write the server's configuration in %1", dir);
        return false;
    }
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("FIREBIRD"), dir);
    env.insert(QStringLiteral("FIREBIRD_LOCK"), dir + QStringLiteral("/lock"));
    env.remove(QStringLiteral("ISC_USER"));
    env.remove(QStringLiteral("ISC_PASSWORD"));

    // The security database of this server alone, with its administrator, made through the embedded engine.
    QProcess isql;
    isql.setProcessEnvironment(env);
    isql.start(QStringLiteral("isql-fb"), {QStringLiteral("-q"), QStringLiteral("-user"), QStringLiteral("SYSDBA")});
    isql.write(QStringLiteral("create database '%1/security.fdb';\n"
                              "create user SYSDBA password '%2' using plugin Srp;\n"
                              "commit;\n")
                   .arg(dir, adminPassword_)
                   .toUtf8());
    isql.closeWriteChannel();
    if (!isql.waitForFinished(60000) || isql.exitCode() != 0) {
        error = QStringLiteral("cannot make the security database: %1%2")
                    .arg(QString::fromUtf8(isql.readAllStandardError()), isql.errorString());
        return false;
    }

    process_.setProcessEnvironment(env);
    process_.setProcessChannelMode(QProcess::MergedChannels);
    process_.setChildProcessModifier(DieWithParent);
    process_.start(QString::fromLatin1(kServerBinary), {});
    if (!process_.waitForStarted(10000)) {
        error = Fmt("the server did not start: %1", process_.errorString());
        return false;
    }
    // Ready once it accepts connections.
    for (int i = 0; i < 200; ++i) {
        if (process_.state() != QProcess::Running)
            break;
        if (Accepts(port_))
            return true;
        QThread::msleep(50);
    }
    error = Fmt("the server on port %1 does not answer: %2", port_, QString::fromUtf8(process_.readAll()));
    process_.kill();
    process_.waitForFinished(5000);
    return false;
}

TestServer::~TestServer()
{
    if (process_.state() == QProcess::NotRunning)
        return;
    // A clean shutdown, unless attachments of killed clients keep it waiting.
    process_.terminate();
    if (!process_.waitForFinished(3000)) {
        process_.kill();
        process_.waitForFinished(5000);
    }
}

QString TestServer::Address(const QString& path) const { return Fmt("127.0.0.1/%1:%2", port_, path); }

QProcessEnvironment TestServer::Environment(const QString& user, const QString& password) const
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("ISC_USER"), user);
    env.insert(QStringLiteral("ISC_PASSWORD"), password);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    return env;
}

namespace {
std::unique_ptr<TestServer>& shared()
{
    static std::unique_ptr<TestServer> server;
    return server;
}
}  // namespace

TestServer* SharedServer()
{
    static QString failure;
    if (!shared() && failure.isEmpty()) {
        shared() = TestServer::Start(failure);
        if (!shared() && failure.isEmpty())
            failure = QStringLiteral("the server did not start");
    }
    EXPECT_TRUE(shared()) << failure.toStdString();
    return shared().get();
}

void StopSharedServer() { shared().reset(); }

}  // namespace testing_support
