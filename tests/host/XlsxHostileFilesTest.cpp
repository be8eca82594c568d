// Hostile workbooks, made at test time: the reader refuses each with the part (and the cell) it broke on, within a
// bounded time, and a zip bomb under the usual limits costs neither the time nor the memory of unpacking it.
#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cstring>
#include <vector>
#include <zip.h>

#include "host/XlsxReader.h"
#include "support/TestSupport.h"

using namespace testing_support;

namespace {
constexpr qint64 kMB = 1 << 20;
constexpr qint64 kRefusalMs = 10'000;

const QByteArray kMain = R"(xmlns="http://schemas.openxmlformats.org/spreadsheetml/2006/main")";
const QByteArray kWorkbook = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?><workbook )" + kMain +
                             R"( xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships">)"
                             R"(<sheets><sheet name="Лист1" sheetId="1" r:id="rId7"/></sheets></workbook>)";
const QByteArray kRels =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
    R"(<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">)"
    R"(<Relationship Id="rId7" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/worksheet" )"
    R"(Target="worksheets/data.xml"/></Relationships>)";
const QByteArray kSheetHead = R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?><worksheet )" + kMain +
                              R"(><sheetData><row r="1"><c r="A1"><v>1</v></c></row>)";
const QByteArray kSheetTail = "</sheetData></worksheet>";

QByteArray Sheet(int row, const QByteArray& cells)
{
    return R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?><worksheet )" + kMain + "><sheetData><row r=\"" +
           QByteArray::number(row) + "\">" + cells + "</row></sheetData></worksheet>";
}

QByteArray SharedStrings(const QByteArray& items) { return "<sst " + kMain + ">" + items + "</sst>"; }

struct Part {
    const char* name;
    QByteArray data;
};

// A workbook of parts held in memory, deflated or stored.
QString Book(const QString& path, const std::vector<Part>& parts, zip_int32_t method = ZIP_CM_DEFLATE)
{
    int error = 0;
    zip_t* zip = zip_open(path.toLocal8Bit().constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    EXPECT_NE(zip, nullptr) << path.toStdString();
    if (!zip)
        return path;
    for (const Part& part : parts) {
        zip_source_t* source = zip_source_buffer(zip, part.data.constData(), part.data.size(), 0);
        const zip_int64_t index = zip_file_add(zip, part.name, source, ZIP_FL_OVERWRITE);
        EXPECT_GE(index, 0) << part.name;
        zip_set_file_compression(zip, index, method, 0);
    }
    EXPECT_EQ(zip_close(zip), 0) << path.toStdString();
    return path;
}

QString BookWithSheet(const TempFolder& folder, const QString& name, const QByteArray& sheet,
                      const QByteArray& shared = {})
{
    std::vector<Part> parts{
        {"xl/workbook.xml", kWorkbook}, {"xl/_rels/workbook.xml.rels", kRels}, {"xl/worksheets/data.xml", sheet}};
    if (!shared.isNull())
        parts.push_back({"xl/sharedStrings.xml", shared});
    return Book(folder.Path(name), parts);
}

// A part made as it is packed, so that making a huge one costs no memory: a start, one block many times, an end.
struct Generated {
    QByteArray head, block, tail;
    qint64 blocks = 0;
    qint64 position = 0;

    qint64 Size() const { return head.size() + block.size() * blocks + tail.size(); }
    zip_int64_t Read(char* to, zip_uint64_t length)
    {
        const qint64 body = block.size() * blocks;
        zip_uint64_t n = 0;
        while (n < length && position < Size()) {
            const QByteArray* from = &tail;
            qint64 at = position - head.size() - body;
            if (position < head.size()) {
                from = &head;
                at = position;
            } else if (position < head.size() + body) {
                from = &block;
                at = (position - head.size()) % block.size();
            }
            const qint64 count = std::min<qint64>(from->size() - at, length - n);
            std::memcpy(to + n, from->constData() + at, count);
            n += count;
            position += count;
        }
        return static_cast<zip_int64_t>(n);
    }
};

zip_int64_t GeneratedSource(void* state, void* data, zip_uint64_t length, zip_source_cmd_t command)
{
    Generated& part = *static_cast<Generated*>(state);
    switch (command) {
    case ZIP_SOURCE_OPEN: part.position = 0; return 0;
    case ZIP_SOURCE_READ: return part.Read(static_cast<char*>(data), length);
    case ZIP_SOURCE_CLOSE:
    case ZIP_SOURCE_FREE: return 0;
    case ZIP_SOURCE_STAT: {
        zip_stat_t* stat = static_cast<zip_stat_t*>(data);
        zip_stat_init(stat);
        stat->size = part.Size();
        stat->valid |= ZIP_STAT_SIZE;
        return sizeof(zip_stat_t);
    }
    case ZIP_SOURCE_ERROR: std::memset(data, 0, 2 * sizeof(int)); return 2 * sizeof(int);
    case ZIP_SOURCE_SUPPORTS:
        return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT,
                                              ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, -1);
    default: return -1;
    }
}

// A workbook of small parts and one generated part, deflated as tightly as deflate goes.
QString BookWithGeneratedPart(const QString& path, const std::vector<Part>& parts, const char* name,
                              Generated& generated)
{
    int error = 0;
    zip_t* zip = zip_open(path.toLocal8Bit().constData(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    EXPECT_NE(zip, nullptr);
    if (!zip)
        return path;
    for (const Part& part : parts)
        EXPECT_GE(zip_file_add(zip, part.name, zip_source_buffer(zip, part.data.constData(), part.data.size(), 0), 0),
                  0);
    const zip_int64_t index = zip_file_add(zip, name, zip_source_function(zip, GeneratedSource, &generated), 0);
    EXPECT_GE(index, 0);
    zip_set_file_compression(zip, index, ZIP_CM_DEFLATE, 9);
    EXPECT_EQ(zip_close(zip), 0) << zip_strerror(zip);
    return path;
}

// A zip bomb: a workbook whose one sheet is a valid start, megabytes of spaces and a valid end.
Generated BombSheet(qint64 megabytes) { return {kSheetHead, QByteArray(kMB, ' '), kSheetTail, megabytes}; }

// Makes an archive state another unpacked size for one of its entries, in its central directory and in the entry's
// own header, leaving the packed data as it was.
bool SetStatedSize(const QString& path, const QByteArray& entry, quint32 size)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite))
        return false;
    QByteArray zip = file.readAll();
    const auto u16 = [&](qint64 at) { return quint32(quint8(zip[at])) | quint32(quint8(zip[at + 1])) << 8; };
    const auto u32 = [&](qint64 at) { return u16(at) | u16(at + 2) << 16; };
    const auto put32 = [&](qint64 at, quint32 v) {
        for (int i = 0; i < 4; ++i)
            zip[at + i] = char(v >> (8 * i));
    };
    const qint64 end = zip.lastIndexOf(QByteArray("PK\x05\x06", 4));
    if (end < 0)
        return false;
    bool found = false;
    for (qint64 at = u32(end + 16), n = u16(end + 10); n > 0 && at + 46 <= zip.size(); --n) {
        if (u32(at) != 0x02014b50)
            return false;
        const quint32 nameLength = u16(at + 28), extra = u16(at + 30), comment = u16(at + 32);
        if (zip.mid(at + 46, nameLength) == entry) {
            const qint64 local = u32(at + 42);
            if (u32(local) != 0x04034b50)
                return false;
            put32(at + 24, size);
            put32(local + 22, size);
            found = true;
        }
        at += 46 + nameLength + extra + comment;
    }
    return found && file.seek(0) && file.write(zip) == zip.size();
}

// A field of /proc/self/status in bytes (VmRSS, VmHWM).
qint64 StatusBytes(const char* field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith(field))
            return line.mid(qstrlen(field) + 1).trimmed().split(' ').value(0).toLongLong() * 1024;
    return -1;
}

// Starts the process's high-water mark of memory again from what it holds now; false where the kernel does not
// allow it.
bool ResetPeakMemory()
{
    QFile clear(QStringLiteral("/proc/self/clear_refs"));
    return clear.open(QIODevice::WriteOnly) && clear.write("5") == 1;
}

// Opens a workbook that must be refused; the reason, and how long the refusal took.
QString Refusal(const QString& path, qint64* elapsedMs = nullptr, const TXlsxLimits& limits = {})
{
    TXlsxWorkbook book;
    QString error;
    QElapsedTimer timer;
    timer.start();
    const bool opened = book.Open(path, error, limits);
    const qint64 ms = timer.elapsed();
    if (elapsedMs)
        *elapsedMs = ms;
    EXPECT_FALSE(opened) << path.toStdString();
    EXPECT_LT(ms, kRefusalMs) << path.toStdString();
    EXPECT_TRUE(book.SheetNames().isEmpty()) << path.toStdString();
    EXPECT_TRUE(error.startsWith(Fmt("Книга %1 не читается: ", path))) << error.toStdString();
    return error;
}

// Expects a small hostile file to be refused under the usual limits with the given reason, at the cost of the
// reader's buffers rather than of what the file would unpack to. The peak is measured from what the process holds
// now. VmHWM only ever rises; where the kernel lets it start again from the current size, the difference is the
// refusal's own peak and the tight bound applies. Elsewhere the difference is only an upper bound (the peak of an
// earlier test may show in it), so then only the loose bound is asserted.
void ExpectRefusedAtABoundedCost(const QString& path, const QString& expected)
{
    const bool reset = ResetPeakMemory();
    const qint64 before = StatusBytes("VmRSS:");
    ASSERT_GT(before, 0);
    qint64 ms = 0;
    const QString error = Refusal(path, &ms);
    const qint64 peak = StatusBytes("VmHWM:");
    const qint64 growth = peak - before;
    EXPECT_TRUE(error.endsWith(expected)) << error.toStdString();
    EXPECT_LT(growth, (reset ? 64 : 400) * kMB) << "peak " << peak / kMB << " MB from " << before / kMB << " MB"
                                                << (reset ? "" : " (high-water mark not reset)");
    const std::string file = QFileInfo(path).baseName().toStdString();
    testing::Test::RecordProperty(file + "_refusal_ms", static_cast<int>(ms));
    testing::Test::RecordProperty(file + "_peak_growth_mb", static_cast<int>(growth / kMB));
}
}  // namespace

TEST(XlsxHostileFiles, AZipBombIsRefusedUnderTheUsualLimitsWithoutUnpackingItIntoMemory)
{
    TempFolder folder;
    const std::vector<Part> parts{{"xl/workbook.xml", kWorkbook}, {"xl/_rels/workbook.xml.rels", kRels}};
    Generated bomb = BombSheet(1024);
    const QString path = BookWithGeneratedPart(folder.Path("bomb.xlsx"), parts, "xl/worksheets/data.xml", bomb);
    // deflate packs a run of one byte about a thousand to one: a file of about a megabyte
    const qint64 packed = QFileInfo(path).size();
    ASSERT_GT(packed, 0);
    ASSERT_LT(packed, 2 * kMB);
    // that holds what it says, a sheet of a gigabyte
    {
        int error = 0;
        zip_t* zip = zip_open(path.toLocal8Bit().constData(), ZIP_RDONLY, &error);
        ASSERT_NE(zip, nullptr);
        zip_stat_t stat;
        EXPECT_EQ(zip_stat(zip, "xl/worksheets/data.xml", 0, &stat), 0);
        EXPECT_GT(static_cast<qint64>(stat.size), 1000 * kMB);
        zip_discard(zip);
    }
    // and a smaller one made the same way is a workbook with its one cell, so what is refused is the size
    {
        Generated small = BombSheet(8);
        TXlsxWorkbook book;
        QString error;
        ASSERT_TRUE(
            book.Open(BookWithGeneratedPart(folder.Path("small.xlsx"), parts, "xl/worksheets/data.xml", small), error))
            << error.toStdString();
        EXPECT_EQ(book.RowNumbers(0), QList<int>{1});
        EXPECT_EQ(book.Cell(0, 1, 1).toDouble(), 1.0);
        // under tighter limits of one part or of the whole it is refused all the same
        TXlsxLimits limits;
        limits.PartBytes = 4 * kMB;
        EXPECT_TRUE(Refusal(folder.Path("small.xlsx"), nullptr, limits)
                        .endsWith("часть xl/worksheets/data.xml больше допустимого (4 МБ в распакованном виде)"));
        limits.PartBytes = 128 * kMB;
        limits.TotalBytes = 8 * kMB;
        EXPECT_TRUE(Refusal(folder.Path("small.xlsx"), nullptr, limits).endsWith("(8 МБ в распакованном виде)"));
    }

    const QString tooLarge = Fmt("часть xl/worksheets/data.xml больше допустимого (%1 МБ в распакованном виде)",
                                 TXlsxLimits().PartBytes / kMB);
    ExpectRefusedAtABoundedCost(path, tooLarge);

    // The same bomb stating that its sheet unpacks to a kilobyte: what it states is not what is counted.
    ASSERT_TRUE(QFile::copy(path, folder.Path("liar.xlsx")));
    ASSERT_TRUE(SetStatedSize(folder.Path("liar.xlsx"), "xl/worksheets/data.xml", 1024));
    ExpectRefusedAtABoundedCost(folder.Path("liar.xlsx"), tooLarge);
}

TEST(XlsxHostileFiles, AWorkbookOfCountlessSheetsIsRefusedWithoutReadingThem)
{
    TempFolder folder;
    // two million sheets, every one of them the same small part: some 80 MB of workbook.xml in a small file
    const QByteArray head =
        R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?><workbook )" + kMain +
        R"( xmlns:r="http://schemas.openxmlformats.org/officeDocument/2006/relationships"><sheets>)";
    const QByteArray sheet = R"(<sheet name="Лист" sheetId="1" r:id="rId7"/>)";
    Generated workbook{head, sheet.repeated(1000), "</sheets></workbook>", 2000};
    const std::vector<Part> parts{{"xl/_rels/workbook.xml.rels", kRels},
                                  {"xl/worksheets/data.xml", Sheet(1, R"(<c r="A1"><v>1</v></c>)")}};
    const QString path = BookWithGeneratedPart(folder.Path("sheets.xlsx"), parts, "xl/workbook.xml", workbook);
    ASSERT_LT(QFileInfo(path).size(), 2 * kMB);
    ExpectRefusedAtABoundedCost(path, Fmt("в xl/workbook.xml больше %1 листов", TXlsxLimits().Sheets));

    // the limit is the number of sheets: as many as it allows are read, one more is refused
    TXlsxLimits three;
    three.Sheets = 3;
    const auto book = [&](int sheets) {
        return Book(folder.Path(Fmt("%1.xlsx", sheets)),
                    {{"xl/workbook.xml", head + sheet.repeated(sheets) + "</sheets></workbook>"}, parts[0], parts[1]});
    };
    TXlsxWorkbook read;
    QString error;
    ASSERT_TRUE(read.Open(book(3), error, three)) << error.toStdString();
    ASSERT_EQ(read.SheetNames().size(), 3);
    EXPECT_EQ(read.Cell(2, 1, 1).toDouble(), 1.0);
    EXPECT_TRUE(Refusal(book(4), nullptr, three).endsWith(QStringLiteral("в xl/workbook.xml больше 3 листов")));
}

TEST(XlsxHostileFiles, APartThatDoesNotMatchItsChecksumIsRefusedAsDamaged)
{
    // Stored parts, one digit changed afterwards: the XML still reads, only the checksum tells.
    TempFolder folder;
    const QByteArray sheet = Sheet(1, R"(<c r="A1" t="s"><v>0</v></c><c r="B1"><v>1234</v></c>)");
    const QByteArray strings = SharedStrings("<si><t>ТП-7</t></si>");
    const std::vector<Part> parts{{"xl/workbook.xml", kWorkbook},
                                  {"xl/_rels/workbook.xml.rels", kRels},
                                  {"xl/worksheets/data.xml", sheet},
                                  {"xl/sharedStrings.xml", strings}};
    const std::pair<QByteArray, QByteArray> changes[] = {
        {"<v>1234</v>", "<v>9234</v>"}, {R"(sheetId="1")", R"(sheetId="2")"}, {"ТП-7", "ТП-8"}};
    const char* damaged[] = {"xl/worksheets/data.xml", "xl/workbook.xml", "xl/sharedStrings.xml"};
    TXlsxWorkbook book;
    QString error;
    ASSERT_TRUE(book.Open(Book(folder.Path("stored.xlsx"), parts, ZIP_CM_STORE), error)) << error.toStdString();
    EXPECT_EQ(book.Cell(0, 1, 2).toDouble(), 1234.0);
    for (int i = 0; i < 3; ++i) {
        const QString path = Book(folder.Path(Fmt("damaged%1.xlsx", i)), parts, ZIP_CM_STORE);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        QByteArray bytes = file.readAll();
        ASSERT_EQ(bytes.count(changes[i].first), 1);
        bytes.replace(changes[i].first, changes[i].second);
        ASSERT_TRUE(file.seek(0) && file.write(bytes) == bytes.size());
        file.close();
        error = Refusal(path);
        EXPECT_TRUE(error.endsWith(Fmt("часть %1 повреждена", damaged[i]))) << error.toStdString();
    }
}

TEST(XlsxHostileFiles, RowsAndColumnsPastTheFormatsSheetAreRefusedWithTheirCell)
{
    TempFolder folder;
    const std::pair<QByteArray, QString> cases[] = {
        {Sheet(1048577, R"(<c r="A1048577"><v>1</v></c>)"), "лист «Лист1»: ссылка на ячейку «A1048577» вне листа"},
        {Sheet(1, R"(<c r="AAAA1"><v>1</v></c>)"), "лист «Лист1»: ссылка на ячейку «AAAA1» вне листа"},
        {Sheet(1, R"(<c r="AAAAA1"><v>1</v></c>)"), "лист «Лист1»: ссылка на ячейку «AAAAA1» вне листа"},
        {Sheet(1, R"(<c r="XFE1048576" t="inlineStr"><is><t>x</t></is></c>)"),
         "лист «Лист1»: ссылка на ячейку «XFE1048576» вне листа"},
        // the row beyond what an int holds must not wrap round into the sheet
        {Sheet(1, R"(<c r="A4294967297"><v>1</v></c>)"), "лист «Лист1»: ссылка на ячейку «A4294967297» вне листа"},
        {Sheet(1, R"(<c r="A0"><v>1</v></c>)"), "лист «Лист1»: ссылка на ячейку «A0» вне листа"},
        {Sheet(1, R"(<c r="A-1"><v>1</v></c>)"), "лист «Лист1»: ссылка на ячейку «A-1» вне листа"},
        {Sheet(1, R"(<c r="A2147483647"><v>1</v></c>)"), "лист «Лист1»: ссылка на ячейку «A2147483647» вне листа"},
        {Sheet(1, R"(<c r="XFE1"><v>1</v></c>)"), "лист «Лист1»: ссылка на ячейку «XFE1» вне листа"},
        // a shared string the workbook does not have
        {Sheet(5, R"(<c r="E5" t="s"><v>7</v></c>)"), "лист «Лист1», ячейка E5: нет общей строки 7"},
    };
    int n = 0;
    for (const auto& [sheet, expected] : cases) {
        const QString error = Refusal(BookWithSheet(folder, Fmt("ref%1.xlsx", ++n), sheet));
        EXPECT_TRUE(error.endsWith(expected)) << error.toStdString();
    }
    // the last row and column of the format are still in the sheet
    TXlsxWorkbook book;
    QString error;
    const QByteArray corner =
        R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?><worksheet )" + kMain +
        R"(><sheetData><row r="3"><c r="B3"><v>2</v></c></row><row r="1048576"><c r="A1048576"><v>3</v></c>)"
        R"(<c r="XFD1048576"><v>4</v></c></row></sheetData></worksheet>)";
    ASSERT_TRUE(book.Open(BookWithSheet(folder, "corner.xlsx", corner), error)) << error.toStdString();
    EXPECT_EQ(book.SheetNames(), QStringList{"Лист1"});
    EXPECT_EQ(book.RowNumbers(0), (QList<int>{3, 1048576}));
    EXPECT_EQ(book.Cell(0, 1048576, 16384).toDouble(), 4.0);
    // and asking past them finds nothing, not a cell of another row
    EXPECT_FALSE(book.Cell(0, 1, 2 | (2 << 20)).isValid());  // B3 again, through a column past the last
    EXPECT_FALSE(book.Cell(0, 0, 2 | (3 << 20)).isValid());
    EXPECT_FALSE(book.Cell(0, 1048576, 16385).isValid());
    EXPECT_FALSE(book.Cell(0, 1048577, 1).isValid());
}

TEST(XlsxHostileFiles, MalformedXmlOfTheWorkbookAndOfTheSharedStringsNamesThePart)
{
    TempFolder folder;
    const QByteArray sheet = Sheet(1, R"(<c r="A1" t="s"><v>0</v></c>)");
    const auto book = [&](const QString& name, const QByteArray& workbook, const QByteArray& shared) {
        return Book(folder.Path(name), {{"xl/workbook.xml", workbook},
                                        {"xl/_rels/workbook.xml.rels", kRels},
                                        {"xl/worksheets/data.xml", sheet},
                                        {"xl/sharedStrings.xml", shared}});
    };
    const QByteArray strings = SharedStrings("<si><t>Ф1</t></si>");
    struct Case {
        QString file;
        QByteArray workbook, shared;
        QString part;
    };
    const Case cases[] = {
        // tags that do not match
        {"workbook-tags.xlsx", QByteArray(kWorkbook).replace("</sheets>", "</sheet>"), strings, "xl/workbook.xml: "},
        // cut short
        {"workbook-cut.xlsx", kWorkbook.left(kWorkbook.size() / 2), strings, "xl/workbook.xml: "},
        // a prefix never declared
        {"workbook-prefix.xlsx",
         "<workbook " + kMain + R"(><sheets><sheet name="Лист1" sheetId="1" x:id="rId7"/></sheets></workbook>)",
         strings, "xl/workbook.xml: "},
        // not XML at all
        {"workbook-binary.xlsx", QByteArray("\x00\x01\x02\xff\xfe", 5), strings, "xl/workbook.xml: "},
        {"shared-tags.xlsx", kWorkbook, SharedStrings("<si><t>Ф1</b></si>"), "xl/sharedStrings.xml: "},
        {"shared-entity.xlsx", kWorkbook, SharedStrings("<si><t>&undefined;</t></si>"), "xl/sharedStrings.xml: "},
        {"shared-two-roots.xlsx", kWorkbook, strings + strings, "xl/sharedStrings.xml: "},
    };
    for (const Case& c : cases) {
        const QString error = Refusal(book(c.file, c.workbook, c.shared));
        EXPECT_TRUE(error.contains(QStringLiteral("не читается: ") + c.part))
            << c.file.toStdString() << ": " << error.toStdString();
        EXPECT_TRUE(error.contains(QStringLiteral("(строка "))) << error.toStdString();
    }
    // a sheet cut short is named with its sheet and part
    const QString cut = Refusal(BookWithSheet(folder, "sheet-tags.xlsx", Sheet(1, R"(<c r="A1"><v>1</v></c)")));
    EXPECT_TRUE(cut.contains("не читается: лист «Лист1» (xl/worksheets/data.xml): ")) << cut.toStdString();
    // the same parts, well formed, make a workbook
    TXlsxWorkbook good;
    QString error;
    ASSERT_TRUE(good.Open(book("good.xlsx", kWorkbook, strings), error)) << error.toStdString();
    EXPECT_EQ(good.Cell(0, 1, 1).toString(), QStringLiteral("Ф1"));
    // and a file that is not there is not opened
    EXPECT_FALSE(good.Open(folder.Path("missing.xlsx"), error));
    EXPECT_TRUE(error.startsWith("Не удалось открыть книгу")) << error.toStdString();
}

TEST(XlsxHostileFiles, EntitiesThatExpandWithoutEndAreRefusedQuickly)
{
    // "billion laughs": ten levels of ten references each would make 10^10 characters of one shared string
    QByteArray doctype = R"(<?xml version="1.0"?><!DOCTYPE sst [<!ENTITY l0 "lol">)";
    for (int level = 1; level <= 10; ++level) {
        doctype += "<!ENTITY l" + QByteArray::number(level) + " \"";
        for (int i = 0; i < 10; ++i)
            doctype += "&l" + QByteArray::number(level - 1) + ";";
        doctype += "\">";
    }
    doctype += "]>";
    TempFolder folder;
    const QString error = Refusal(BookWithSheet(folder, "laughs.xlsx", Sheet(1, R"(<c r="A1" t="s"><v>0</v></c>)"),
                                                doctype + SharedStrings("<si><t>&l10;</t></si>")));
    EXPECT_TRUE(error.contains(QStringLiteral("не читается: xl/sharedStrings.xml: "))) << error.toStdString();
}

TEST(XlsxHostileFiles, NumbersThatAreNotFiniteAreRefusedWithTheirCell)
{
    TempFolder folder;
    const char* values[] = {"NaN",    "nan",   "inf",   "-inf",    "INF",  "Infinity",
                            "-1e999", "1e999", "1e309", "1.8e308", "12abc"};
    int n = 0;
    for (const char* value : values) {
        for (const QByteArray& type : {QByteArray(), QByteArray(R"( t="n")")}) {
            const QByteArray cell = R"(<c r="C3")" + type + "><v>" + value + "</v></c>";
            const QString error = Refusal(BookWithSheet(folder, Fmt("num%1.xlsx", ++n), Sheet(3, cell)));
            EXPECT_TRUE(error.endsWith(Fmt("лист «Лист1», ячейка C3: «%1» не конечное число", value)))
                << value << type.constData() << ": " << error.toStdString();
        }
    }
    // the largest finite numbers are numbers
    TXlsxWorkbook book;
    QString error;
    ASSERT_TRUE(book.Open(
        BookWithSheet(folder, "finite.xlsx",
                      Sheet(3, R"(<c r="C3"><v>1.7976931348623157e308</v></c><c r="D3"><v>-4.9e-324</v></c>)")),
        error))
        << error.toStdString();
    EXPECT_EQ(book.Cell(0, 3, 3).toDouble(), 1.7976931348623157e308);
    EXPECT_LT(book.Cell(0, 3, 4).toDouble(), 0.0);
}
