#include "support/TestSupport.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <cmath>
#include <zip.h>

#include "db/DemoGenerator.h"
#include "db/SchemaInstaller.h"
#include "feeders/StoredSamples.h"
#include "host/Database.h"
#include "normative/StoredNormative.h"

namespace testing_support {

void UseTestEnvironment(const QTemporaryDir& folder)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("OZN3_CONFIG_DIR", folder.path().toLocal8Bit());
    // Workbooks written to be opened in the spreadsheet stay with the test run too.
    qputenv("OZN3_DOCUMENTS", folder.path().toLocal8Bit());
    // The application's log of the tests and of the programs they start stays with the test run.
    if (qEnvironmentVariableIsEmpty("OZN3_LOG_FILE"))
        qputenv("OZN3_LOG_FILE", (folder.path() + QStringLiteral("/ozn3.log")).toLocal8Bit());
}

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
        RecalculateStoredNormative(*database->GetDefaultConnection());  // as `ozn3 demo-db` does
        feeders::RecalculateStoredSamples(*database->GetDefaultConnection());
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

void WriteZipEntry(const QString& archive, const QString& entry, const QByteArray& content)
{
    int error = 0;
    zip_t* zip = zip_open(archive.toLocal8Bit().constData(), 0, &error);
    ASSERT_TRUE(zip) << archive.toStdString();
    // The archive copies the bytes when it is closed.
    zip_source_t* source = zip_source_buffer(zip, content.constData(), static_cast<zip_uint64_t>(content.size()), 0);
    ASSERT_GE(zip_file_add(zip, entry.toUtf8().constData(), source, ZIP_FL_OVERWRITE), 0);
    ASSERT_EQ(zip_close(zip), 0);
}

namespace {
// Puts a cell's content (" t=…><…></c>", empty to clear it) in place of a cell, adding the cell when missing.
void PutCell(const QString& workbook, int sheet, const QString& address, const QString& typed)
{
    const QString part = Fmt("xl/worksheets/sheet%1.xml", sheet);
    QString xml = QString::fromUtf8(ReadZipEntry(workbook, part));
    const bool clear = typed.isEmpty();
    const QRegularExpression cell(Fmt("<c r=\"%1\"([^>]*?)(/>|>.*?</c>)", address),
                                  QRegularExpression::DotMatchesEverythingOption);
    const auto m = cell.match(xml);
    if (m.hasMatch()) {
        QString attributes = m.captured(1);
        attributes.remove(QRegularExpression(QStringLiteral(" t=\"[A-Za-z]+\"")));
        xml.replace(m.capturedStart(), m.capturedLength(),
                    QStringLiteral("<c r=\"%1\"%2").arg(address, attributes) + (clear ? "/>" : typed));
    } else {
        // A cell the workbook did not write: into its row, or into a new row at the end of the sheet.
        ASSERT_FALSE(clear) << address.toStdString();
        const QString row = QString(address).remove(QRegularExpression(QStringLiteral("^[A-Z]+")));
        const QString newCell = Fmt("<c r=\"%1\"", address) + typed;
        const QRegularExpression rowEnd(Fmt("(<row r=\"%1\"[^>]*>.*?)(</row>)", row),
                                        QRegularExpression::DotMatchesEverythingOption);
        const auto r = rowEnd.match(xml);
        if (r.hasMatch())
            xml.insert(r.capturedStart(2), newCell);
        else
            xml.replace(QStringLiteral("</sheetData>"),
                        QStringLiteral("<row r=\"%1\">%2</row></sheetData>").arg(row, newCell));
    }
    WriteZipEntry(workbook, part, xml.toUtf8());
}
}  // namespace

void TypeTextIntoCell(const QString& workbook, int sheet, const QString& address, const QString& text)
{
    PutCell(workbook, sheet, address,
            text.isEmpty() ? QString() : Fmt(" t=\"inlineStr\"><is><t>%1</t></is></c>", text.toHtmlEscaped()));
}

void TypeNumberIntoCell(const QString& workbook, int sheet, const QString& address, double value)
{
    PutCell(workbook, sheet, address, Fmt("><v>%1</v></c>", QString::number(value, 'g', 17)));
}

QStringList GarbledTexts(const QString& workbook)
{
    QStringList garbled;
    for (const QString& text : WorkbookTexts(workbook).split(QLatin1Char('\n')))
        for (const QChar c : text)
            if (c.unicode() >= 0xC0 && c.unicode() <= 0xFF) {
                garbled << text;
                break;
            }
    return garbled;
}

namespace {
QStringList SharedStrings(const QString& workbook)
{
    QStringList strings;
    static const QRegularExpression si(QStringLiteral("<si>(.*?)</si>"),
                                       QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression t(QStringLiteral("<t[^>]*>([^<]*)</t>"));
    for (auto it = si.globalMatch(QString::fromUtf8(ReadZipEntry(workbook, "xl/sharedStrings.xml"))); it.hasNext();) {
        QString text;
        for (auto part = t.globalMatch(it.next().captured(1)); part.hasNext();)
            text += part.next().captured(1);
        strings << text;
    }
    return strings;
}

QString Unescape(QString s)
{
    return s.replace("&lt;", "<")
        .replace("&gt;", ">")
        .replace("&quot;", "\"")
        .replace("&apos;", "'")
        .replace("&amp;", "&");
}

}  // namespace

QString WorkbookTexts(const QString& workbook)
{
    static const QRegularExpression text(QStringLiteral("<t[^>]*>([^<]*)</t>"));
    QStringList texts;
    QStringList parts{QStringLiteral("xl/sharedStrings.xml")};
    for (int sheet = 1; sheet <= 20; ++sheet)
        parts << Fmt("xl/worksheets/sheet%1.xml", sheet);
    for (const QString& part : parts)
        for (auto it = text.globalMatch(QString::fromUtf8(ReadZipEntry(workbook, part))); it.hasNext();)
            texts << Unescape(it.next().captured(1));
    return texts.join(QLatin1Char('\n'));
}

QHash<QString, CachedFormula> WorksheetCells(const QString& workbook, int sheet)
{
    const QStringList strings = SharedStrings(workbook);
    QHash<QString, CachedFormula> cells;
    static const QRegularExpression cell(QStringLiteral("<c r=\"([A-Z]+[0-9]+)\"([^>]*?)(?:/>|>(.*?)</c>)"),
                                         QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression f(QStringLiteral("<f[^>]*>([^<]*)</f>")), v(QStringLiteral("<v>([^<]*)</v>"));
    static const QRegularExpression type(QStringLiteral("t=\"([a-z]+)\""));
    const QString xml = QString::fromUtf8(ReadZipEntry(workbook, Fmt("xl/worksheets/sheet%1.xml", sheet)));
    for (auto it = cell.globalMatch(xml); it.hasNext();) {
        const auto m = it.next();
        CachedFormula c;
        const QString body = m.captured(3);
        if (const auto fm = f.match(body); fm.hasMatch())
            c.formula = Unescape(fm.captured(1));
        if (const auto vm = v.match(body); vm.hasMatch()) {
            const QString t = type.match(m.captured(2)).captured(1);
            if (t == QLatin1String("s"))
                c.value = strings.value(vm.captured(1).toInt());
            else if (t == QLatin1String("str") || t == QLatin1String("e"))
                c.value = Unescape(vm.captured(1));
            else
                c.value = vm.captured(1).toDouble();
        }
        cells.insert(m.captured(1), c);
    }
    return cells;
}

QHash<QString, CachedFormula> FormulaCells(const QString& workbook, int sheet)
{
    QHash<QString, CachedFormula> formulas;
    const QHash<QString, CachedFormula> all = WorksheetCells(workbook, sheet);
    for (auto it = all.cbegin(); it != all.cend(); ++it)
        if (!it->formula.isEmpty())
            formulas.insert(it.key(), *it);
    return formulas;
}

namespace {
// The copy of a workbook that LibreOffice recalculated and saved, made once per workbook file and time.
QString RecalculatedCopy(const QString& workbook)
{
    static QTemporaryDir profile, out;
    static QHash<QString, QString> copies;
    const QString key = workbook + QLatin1Char('@') + QFileInfo(workbook).lastModified().toString(Qt::ISODateWithMs);
    if (copies.contains(key))
        return copies.value(key);
    // A profile of its own that tells Calc to recalculate every formula of a workbook it loads.
    const QString settings = profile.filePath(QStringLiteral("user/registrymodifications.xcu"));
    if (!QFile::exists(settings)) {
        QDir().mkpath(profile.filePath(QStringLiteral("user")));
        QFile f(settings);
        EXPECT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<oor:items xmlns:oor=\"http://openoffice.org/2001/registry\" "
            "xmlns:xs=\"http://www.w3.org/2001/XMLSchema\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n"
            "<item oor:path=\"/org.openoffice.Office.Calc/Formula/Load\"><prop oor:name=\"OOXMLRecalcMode\" "
            "oor:op=\"fuse\"><value>0</value></prop></item>\n</oor:items>\n");
    }
    const QString folder = out.filePath(QString::number(copies.size()));
    QDir().mkpath(folder);
    QProcess soffice;
    soffice.start(QStringLiteral("soffice"), {QStringLiteral("-env:UserInstallation=file://") + profile.path(),
                                              QStringLiteral("--headless"), QStringLiteral("--convert-to"),
                                              QStringLiteral("xlsx"), QStringLiteral("--outdir"), folder, workbook});
    if (!soffice.waitForStarted(10000)) {
        ADD_FAILURE() << "LibreOffice (soffice) is not installed: run scripts/bootstrap";
        return {};
    }
    EXPECT_TRUE(soffice.waitForFinished(120000));
    const QString converted = QDir(folder).filePath(QFileInfo(workbook).fileName());
    if (!QFile::exists(converted)) {
        ADD_FAILURE() << "LibreOffice did not convert " << workbook.toStdString() << ": "
                      << soffice.readAllStandardError().toStdString();
        return {};
    }
    copies.insert(key, converted);
    return converted;
}
}  // namespace

QHash<QString, QVariant> RecalculatedCells(const QString& workbook, int sheet)
{
    const QString converted = RecalculatedCopy(workbook);
    if (converted.isEmpty())
        return {};
    QHash<QString, QVariant> values;
    const QHash<QString, CachedFormula> cells = WorksheetCells(converted, sheet);
    for (auto it = cells.cbegin(); it != cells.cend(); ++it)
        values.insert(it.key(), it->value);
    return values;
}

int ExpectFormulasAsRecalculated(const QString& workbook, int sheet)
{
    // The workbook asks the spreadsheet to recalculate when it is opened; the cached values serve until then.
    EXPECT_TRUE(
        QString::fromUtf8(ReadZipEntry(workbook, QStringLiteral("xl/workbook.xml"))).contains("fullCalcOnLoad=\"1\""))
        << workbook.toStdString();
    const QHash<QString, CachedFormula> formulas = FormulaCells(workbook, sheet);
    const QHash<QString, QVariant> recalculated = RecalculatedCells(workbook, sheet);
    int compared = 0;
    for (auto it = formulas.cbegin(); it != formulas.cend(); ++it) {
        const QVariant mine = it->value, theirs = recalculated.value(it.key());
        const std::string where = it.key().toStdString() + " =" + it->formula.toStdString();
        if (theirs.typeId() == QMetaType::Double) {
            EXPECT_EQ(mine.typeId(), QMetaType::Double) << where << " cached " << mine.toString().toStdString();
            const double a = mine.toDouble(), b = theirs.toDouble();
            EXPECT_NEAR(a, b, 1e-12 * std::max(1.0, std::fabs(b))) << where;
        } else {
            EXPECT_EQ(mine.toString(), theirs.toString()) << where;
        }
        ++compared;
    }
    return compared;
}

QString PluginPath() { return QStringLiteral(OZN3_PLUGIN_PATH); }
QString AppPath() { return QStringLiteral(OZN3_APP_PATH); }

DatabaseTest::~DatabaseTest() = default;

void DatabaseTest::OpenNew(bool demo)
{
    db_ = OpenDatabase(demo ? NewDemoDatabase(folder_) : NewSchemaDatabase(folder_));
    c_ = db_->GetDefaultConnection();
}

EnvChanges NoDisplayNoUser()
{
    return {{"DISPLAY", {}}, {"WAYLAND_DISPLAY", {}}, {"ISC_USER", {}}, {"ISC_PASSWORD", {}}};
}

AppOutcome RunApp(const QStringList& args, const EnvChanges& env, const QByteArray& input)
{
    QProcess p;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : env)
        if (value.isNull())
            environment.remove(name);
        else
            environment.insert(name, value);
    p.setProcessEnvironment(environment);
    p.start(AppPath(), args);
    p.write(input);
    p.closeWriteChannel();
    EXPECT_TRUE(p.waitForFinished(120000)) << args.join(' ').toStdString();
    return {p.exitCode(), QString::fromUtf8(p.readAllStandardOutput()), QString::fromUtf8(p.readAllStandardError())};
}

}  // namespace testing_support
