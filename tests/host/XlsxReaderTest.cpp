// The workbook reader against damaged and hostile files: each refused with its part and cell, at a bounded cost.
#include "host/XlsxReader.h"

#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <zip.h>

#include "support/TestSupport.h"

using namespace testing_support;

namespace {
const QByteArray kWorkbook = R"(<workbook xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main" )"
                             R"(xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships"><sheets>)"
                             R"(<sheet name="Участки" sheetId="1" r:id="rId7"/></sheets></workbook>)";
const QByteArray kRels =
    R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
    R"(<Relationship Id="rId7" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet" )"
    R"(Target="worksheets/data.xml"/></Relationships>)";

QByteArray Sheet(const QByteArray& cells)
{
    return R"(<worksheet xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><sheetData><row r="1">)" +
           cells + "</row></sheetData></worksheet>";
}

// A workbook of the given parts; the sheet is kept where the relationships say, not as sheet1.xml.
QString Book(const TempFolder& folder, const QString& name, const QByteArray& sheet, const QByteArray& shared = {})
{
    const QString path = folder.Path(name);
    int error = 0;
    zip_t* zip = zip_open(path.toLocal8Bit().constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    std::vector<QByteArray> keep;
    const auto add = [&](const char* entry, const QByteArray& data) {
        keep.push_back(data);
        zip_source_t* source = zip_source_buffer(zip, keep.back().constData(), keep.back().size(), 0);
        zip_file_add(zip, entry, source, ZIP_FL_OVERWRITE);
    };
    keep.reserve(4);
    add("xl/workbook.xml", kWorkbook);
    add("xl/_rels/workbook.xml.rels", kRels);
    add("xl/worksheets/data.xml", sheet);
    if (!shared.isEmpty())
        add("xl/sharedStrings.xml", shared);
    EXPECT_EQ(zip_close(zip), 0);
    return path;
}
}  // namespace

TEST(XlsxReader, SheetsAreFoundThroughTheRelationshipsAndTheFormatsCornerIsTheLimit)
{
    TempFolder folder;
    TXlsxWorkbook book;
    QString error;
    const QString path =
        Book(folder, "ok.xlsx", Sheet(R"(<c r="B1" t="s"><v>0</v></c><c r="XFD1048576"><v>2.5</v></c>)"),
             R"(<sst xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main"><si><t>ТП</t></si></sst>)");
    ASSERT_TRUE(book.Open(path, error)) << error.toStdString();
    EXPECT_EQ(book.SheetNames(), QStringList{"Участки"});
    EXPECT_EQ(book.Cell(0, 1, 2).toString(), "ТП");
    EXPECT_DOUBLE_EQ(book.Cell(0, 1048576, 16384).toDouble(), 2.5);
    EXPECT_EQ(book.RowNumbers(0), (QList<int>{1, 1048576}));
}

TEST(XlsxReader, DamagedAndHostileWorkbooksAreRefusedWithTheirPartAndCell)
{
    TempFolder folder;
    const std::pair<QByteArray, QString> cases[] = {
        {Sheet(R"(<c r="A2147483647"><v>1</v></c>)"), "лист «Участки»: ссылка на ячейку «A2147483647» вне листа"},
        {Sheet(R"(<c r="XFE1"><v>1</v></c>)"), "лист «Участки»: ссылка на ячейку «XFE1» вне листа"},
        {Sheet(R"(<c r="C3"><v>1e999</v></c>)"), "лист «Участки», ячейка C3: «1e999» не конечное число"},
        {Sheet(R"(<c r="D4"><v>12abc</v></c>)"), "лист «Участки», ячейка D4: «12abc» не конечное число"},
        {Sheet(R"(<c r="E5" t="s"><v>7</v></c>)"), "лист «Участки», ячейка E5: нет общей строки 7"},
        {Sheet(R"(<c r="A1"><v>1</v></c)"), "лист «Участки» (xl/worksheets/data.xml): "},
    };
    int n = 0;
    for (const auto& [sheet, expected] : cases) {
        const QString path = Book(folder, Fmt("bad%1.xlsx", ++n), sheet);
        TXlsxWorkbook book;
        QString error;
        EXPECT_FALSE(book.Open(path, error));
        EXPECT_TRUE(error.startsWith(Fmt("Книга %1 не читается: ", path) + expected)) << error.toStdString();
        EXPECT_TRUE(book.SheetNames().isEmpty());
    }
    TXlsxWorkbook book;
    QString error;
    EXPECT_FALSE(book.Open(Book(folder, "shared.xlsx", Sheet(""), "<sst><si><t>x</t></si"), error));
    EXPECT_TRUE(error.contains("xl/sharedStrings.xml: ")) << error.toStdString();
    EXPECT_FALSE(book.Open(folder.Path("missing.xlsx"), error));
    EXPECT_TRUE(error.startsWith("Не удалось открыть книгу")) << error.toStdString();
}

TEST(XlsxReader, APartThatUnpacksBeyondItsLimitIsRefusedWithoutUnpackingIt)
{
    TempFolder folder;
    // 64 MB of spaces pack into a few kilobytes: a small file that would unpack huge.
    const QByteArray padding(64 << 20, ' ');
    const QString path = Book(folder, "bomb.xlsx", Sheet(R"(<c r="A1"><v>1</v></c>)" + padding));
    TXlsxLimits limits;
    limits.PartBytes = 4 << 20;
    TXlsxWorkbook book;
    QString error;
    QElapsedTimer timer;
    timer.start();
    EXPECT_FALSE(book.Open(path, error, limits));
    EXPECT_LT(timer.elapsed(), 2000);
    EXPECT_TRUE(error.contains("часть xl/worksheets/data.xml больше допустимого (4 МБ в распакованном виде)"))
        << error.toStdString();
    limits.PartBytes = 128 << 20;
    limits.TotalBytes = 8 << 20;
    EXPECT_FALSE(book.Open(path, error, limits));
    EXPECT_TRUE(error.contains("(8 МБ в распакованном виде)")) << error.toStdString();
    EXPECT_TRUE(book.Open(path, error)) << error.toStdString();  // within the usual limits it is a workbook
}
