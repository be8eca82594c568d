#pragma once
// A Firebird server of the tests' own: listening on 127.0.0.1 only, on a free port, with its configuration,
// lock files and security database in a temporary folder; stopped when the object goes (or the test
// program dies).
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QTemporaryDir>
#include <memory>

namespace testing_support {

class TestServer {
public:
    // Starts a server; null with the reason when the machine cannot run one.
    static std::unique_ptr<TestServer> Start(QString& error);
    ~TestServer();

    // The connection string of a database file on this server.
    QString Address(const QString& path) const;
    // A file path in the server's own folder (databases live there).
    QString Path(const QString& name) const { return dir_.filePath(name); }
    int Port() const { return port_; }
    // The administrator's password of this server (its security database is made afresh).
    QString AdminPassword() const { return adminPassword_; }
    // An environment for a command run as a user of this server.
    QProcessEnvironment Environment(const QString& user, const QString& password) const;

private:
    TestServer() = default;
    bool Launch(QString& error);
    QTemporaryDir dir_;
    QProcess process_;
    int port_ = 0;
    QString adminPassword_;
};

// The server shared by the tests of one program: started on first use, stopped at exit. Fails the
// calling test when it cannot start.
TestServer* SharedServer();
// Ends the shared server (called once all tests have run).
void StopSharedServer();

}  // namespace testing_support
