#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QDialog>
#include <QFile>
#include <QTimer>
#include <zip.h>

#include "db/DemoGenerator.h"
#include "db/SchemaInstaller.h"
#include "host/Database.h"

namespace testing_support {

namespace {
// Templates live for the whole run of one test program.
QTemporaryDir& templates()
{
    static QTemporaryDir dir;
    return dir;
}

QString makeTemplate(const QString& name, bool demo)
{
    const QString path = templates().filePath(name);
    if (QFile::exists(path))
        return path;
    QString error;
    if (!db::CreateDatabase(path, error))
        qFatal("template database: %s", qPrintable(error));
    if (demo) {
        auto database = TfdbDatabase::Open(path, error);
        if (!database)
            qFatal("template database: %s", qPrintable(error));
        db::DemoGenerator(*database->GetDefaultConnection()).Generate(db::DemoShape::For(db::DemoSize::Small));
    }
    return path;
}

QString copyOf(const QString& source, const TempFolder& folder, const QString& name)
{
    const QString target = folder.Path(name);
    QFile::remove(target);
    if (!QFile::copy(source, target))
        qFatal("cannot copy %s", qPrintable(source));
    QFile::setPermissions(target, QFile::ReadOwner | QFile::WriteOwner);
    return target;
}
}  // namespace

TempFolder::TempFolder() { EXPECT_TRUE(dir_.isValid()); }

QString NewSchemaDatabase(const TempFolder& folder, const QString& name)
{
    return copyOf(makeTemplate(QStringLiteral("schema.fdb"), false), folder, name);
}

QString NewDemoDatabase(const TempFolder& folder, const QString& name)
{
    return copyOf(makeTemplate(QStringLiteral("demo.fdb"), true), folder, name);
}

QString NewFormerSchemaDatabase(const TempFolder& folder, const QString& name)
{
    const QString path = folder.Path(name);
    QFile script(QStringLiteral(OZN3_TEST_DATA "/db/data/Schema-2026-11-23.sql"));
    EXPECT_TRUE(script.open(QIODevice::ReadOnly));
    QString error;
    EXPECT_TRUE(db::CreateDatabase(path, error, QString::fromUtf8(script.readAll()))) << error.toStdString();
    return path;
}

std::unique_ptr<TfdbDatabase> OpenDatabase(const QString& path)
{
    QString error;
    auto database = TfdbDatabase::Open(path, error);
    EXPECT_TRUE(database) << error.toStdString();
    return database;
}

void Exec(ToznFDConnection& connection, const QString& sql)
{
    auto q = connection.NewQuery();
    q->SetSQLText(sql);
    q->ExecSQL();
}

double Scalar(ToznFDConnection& connection, const QString& sql)
{
    auto q = connection.NewQuery();
    q->SetSQLText(sql);
    q->Open();
    return q->Eof() ? -999 : q->Value(0).toDouble();
}

QByteArray ReadZipEntry(const QString& archive, const QString& entry)
{
    int error = 0;
    zip_t* zip = zip_open(archive.toLocal8Bit().constData(), ZIP_RDONLY, &error);
    if (!zip)
        return {};
    QByteArray data;
    if (zip_file_t* file = zip_fopen(zip, entry.toUtf8().constData(), 0)) {
        char buffer[65536];
        zip_int64_t n;
        while ((n = zip_fread(file, buffer, sizeof buffer)) > 0)
            data.append(buffer, static_cast<int>(n));
        zip_fclose(file);
    }
    zip_close(zip);
    return data;
}

void CloseNextModal(int result, std::function<void(QDialog*)> inspect)
{
    auto* timer = new QTimer(qApp);
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, result, inspect] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible())
            return;
        timer->stop();
        timer->deleteLater();
        if (inspect)
            inspect(dialog);
        dialog->done(result);
    });
    timer->start();
}

QString PluginPath() { return QStringLiteral(OZN3_PLUGIN_PATH); }
QString AppPath() { return QStringLiteral(OZN3_APP_PATH); }

}  // namespace testing_support
