// libFuzzer target of the workbook reader: any bytes, given as an .xlsx file, are either refused with a reason or
// read into sheets whose cells keep the reader's promises (rows in order and inside the sheet, finite numbers).
// The limits are small so that one input costs at most a few tens of megabytes.
//
// Bytes changed at random inside a packed part almost never survive the archive's checksum, so most inputs
// would stop at the archive. The mutator therefore mostly unpacks the workbook, changes one part (its XML, its
// name, or which parts there are) and packs it again, stored or deflated; now and then it changes the raw
// bytes of the file instead, for the archive's own structures. Every input stays an .xlsx file.
#include <unistd.h>

#include <QByteArray>
#include <QDir>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <random>
#include <string>
#include <vector>
#include <zip.h>

#include "host/XlsxReader.h"

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {
// The input as a file: one per fuzzing process, already unlinked, so that nothing is left behind when the process
// stops on a fault; the reader opens it through /proc.
int gFile = -1;
QString gPath;

[[noreturn]] void Broken(const char* what, int sheet, int row, int column)
{
    std::fprintf(stderr, "xlsx_reader_fuzz: %s (sheet %d, row %d, column %d)\n", what, sheet, row, column);
    std::abort();
}

// The columns read in every row: the first few, where the product's workbooks keep their data, and the last
// ones of the sheet.
constexpr int kColumns[] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 26, 27, 702, 703, 16383, 16384};

struct Part {
    std::string name, data;
};
// A part larger than this is not unpacked by the mutator (the input is then changed as raw bytes).
constexpr zip_uint64_t kMutablePart = 1 << 20;

// The parts of an archive in memory; false when it is not one the mutator can take apart.
bool Unpack(const uint8_t* data, size_t size, std::vector<Part>& parts)
{
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source = zip_source_buffer_create(data, size, 0, &error);
    zip_t* zip = source ? zip_open_from_source(source, ZIP_RDONLY, &error) : nullptr;
    if (!zip) {
        if (source)
            zip_source_free(source);
        zip_error_fini(&error);
        return false;
    }
    const zip_int64_t entries = zip_get_num_entries(zip, 0);
    bool ok = entries > 0 && entries <= 64;
    for (zip_int64_t i = 0; ok && i < entries; ++i) {
        zip_stat_t stat;
        ok = zip_stat_index(zip, i, 0, &stat) == 0 && (stat.valid & ZIP_STAT_NAME) && (stat.valid & ZIP_STAT_SIZE) &&
             stat.size <= kMutablePart;
        zip_file_t* file = ok ? zip_fopen_index(zip, i, 0) : nullptr;
        if (!file) {
            ok = false;
            break;
        }
        Part part{stat.name, std::string(stat.size, '\0')};
        const zip_int64_t n = stat.size ? zip_fread(file, part.data.data(), stat.size) : 0;
        ok = n == static_cast<zip_int64_t>(stat.size);
        zip_fclose(file);
        parts.push_back(std::move(part));
    }
    zip_discard(zip);  // frees the source as well
    zip_error_fini(&error);
    return ok;
}

// The parts packed again, each stored or deflated at a level of the generator's choice; empty on failure.
std::string Pack(const std::vector<Part>& parts, std::minstd_rand& random)
{
    zip_error_t error;
    zip_error_init(&error);
    std::string packed;
    zip_source_t* out = zip_source_buffer_create(nullptr, 0, 0, &error);
    zip_t* zip = out ? zip_open_from_source(out, ZIP_TRUNCATE, &error) : nullptr;
    if (!zip) {
        if (out)
            zip_source_free(out);
        zip_error_fini(&error);
        return packed;
    }
    zip_source_keep(out);
    for (const Part& part : parts) {
        zip_source_t* data = zip_source_buffer(zip, part.data.data(), part.data.size(), 0);
        if (!data)
            continue;
        const zip_int64_t index = zip_file_add(zip, part.name.c_str(), data, ZIP_FL_ENC_GUESS);
        if (index < 0) {
            zip_source_free(data);
            continue;
        }
        const unsigned level = random() % 10;
        zip_set_file_compression(zip, index, level == 0 ? ZIP_CM_STORE : ZIP_CM_DEFLATE, level);
    }
    if (zip_close(zip) != 0) {
        zip_discard(zip);
    } else if (zip_source_open(out) == 0) {
        char buffer[65536];
        zip_int64_t n;
        while ((n = zip_source_read(out, buffer, sizeof buffer)) > 0)
            packed.append(buffer, n);
        zip_source_close(out);
    }
    zip_source_free(out);
    zip_error_fini(&error);
    return packed;
}

// Changes one part of the workbook; false when there was nothing to change.
bool MutatePart(std::vector<Part>& parts, std::minstd_rand& random, size_t maxSize)
{
    if (parts.empty())
        return false;
    // The XML parts are the ones worth changing; other parts are picked now and then.
    std::vector<size_t> xml;
    for (size_t i = 0; i < parts.size(); ++i)
        if (parts[i].name.ends_with(".xml") || parts[i].name.ends_with(".rels"))
            xml.push_back(i);
    const size_t pick = !xml.empty() && random() % 8 ? xml[random() % xml.size()] : random() % parts.size();
    Part& part = parts[pick];
    switch (random() % 16) {
    case 0: {  // another name, or the name of another part
        if (random() % 2 && parts.size() > 1) {
            part.name = parts[random() % parts.size()].name;
            return true;
        }
        std::string name = part.name;
        name.resize(std::max<size_t>(name.size() * 2, 16));
        name.resize(LLVMFuzzerMutate(reinterpret_cast<uint8_t*>(name.data()), part.name.size(), name.size()));
        name.erase(std::find(name.begin(), name.end(), '\0'), name.end());
        if (name.empty())
            return false;
        part.name = name;
        return true;
    }
    case 1:  // a part less
        parts.erase(parts.begin() + pick);
        return true;
    case 2:  // a copy of a part under the name of the next sheet
        parts.push_back({"xl/worksheets/sheet" + std::to_string(2 + random() % 3) + ".xml", part.data});
        return true;
    default: {  // the part's contents
        std::string data = part.data;
        const size_t capacity = std::min(maxSize, std::max<size_t>(data.size() + 256, data.size() * 2));
        if (capacity < data.size())
            return false;
        data.resize(capacity);
        data.resize(LLVMFuzzerMutate(reinterpret_cast<uint8_t*>(data.data()), part.data.size(), capacity));
        part.data = std::move(data);
        return true;
    }
    }
}
}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned int seed)
{
    std::minstd_rand random(seed);
    std::vector<Part> parts;
    if (random() % 5 == 0 || !Unpack(data, size, parts) || !MutatePart(parts, random, maxSize))
        return LLVMFuzzerMutate(data, size, maxSize);
    const std::string packed = Pack(parts, random);
    if (packed.empty() || packed.size() > maxSize)
        return LLVMFuzzerMutate(data, size, maxSize);
    std::memcpy(data, packed.data(), packed.size());
    return packed.size();
}

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    QByteArray name = QDir::tempPath().toLocal8Bit() + "/xlsx_reader_fuzz.XXXXXX";
    gFile = mkstemp(name.data());
    if (gFile < 0) {
        std::perror("xlsx_reader_fuzz: no temporary file");
        std::exit(1);
    }
    unlink(name.constData());
    gPath = QStringLiteral("/proc/self/fd/%1").arg(gFile);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (ftruncate(gFile, 0) != 0 || pwrite(gFile, data, size, 0) != static_cast<ssize_t>(size)) {
        std::perror("xlsx_reader_fuzz: cannot write the input");
        std::exit(1);
    }
    TXlsxLimits limits;
    limits.PartBytes = 16ll << 20;
    limits.TotalBytes = 64ll << 20;
    limits.SharedStrings = 200'000;
    limits.Sheets = 100;

    TXlsxWorkbook book;
    QString error;
    if (!book.Open(gPath, error, limits)) {
        if (error.isEmpty())
            Broken("refused without a reason", -1, 0, 0);
        if (!book.SheetNames().isEmpty())
            Broken("refused but kept sheets", -1, 0, 0);
        return 0;
    }
    const QStringList names = book.SheetNames();
    if (names.size() > limits.Sheets)
        Broken("more sheets than the limit", names.size(), 0, 0);
    for (int s = 0; s < names.size(); ++s) {
        const int found = book.SheetIndex(names[s]);
        if (found < 0 || found > s)
            Broken("a sheet not found by its name", s, 0, 0);
        const QList<int> rows = book.RowNumbers(s);
        int previous = 0;
        for (const int row : rows) {
            if (row <= previous || row > kXlsxMaxRows)
                Broken("row numbers out of order or outside the sheet", s, row, 0);
            previous = row;
            for (const int column : kColumns) {
                const QVariant v = book.Cell(s, row, column);
                if (!v.isValid())
                    continue;
                if (v.typeId() == QMetaType::Double && !std::isfinite(v.toDouble()))
                    Broken("a number that is not finite", s, row, column);
                if (v.typeId() == QMetaType::QString && v.toString().isEmpty())
                    Broken("an empty text kept as a cell", s, row, column);
                // past the last column there is nothing, not this cell again from another row
                const int low = row & 2047;
                if ((low && book.Cell(s, row - low, column | (low << 20)).isValid()) ||
                    book.Cell(s, row, column + kXlsxMaxColumns).isValid())
                    Broken("a cell found past the last column", s, row, column);
            }
        }
        if (book.RowCount(s) != previous)
            Broken("the row count is not the last row with a cell", s, book.RowCount(s), 0);
        if (book.Cell(s, 0, 1).isValid() || book.Cell(s, 1, 0).isValid() || book.Cell(s, kXlsxMaxRows + 1, 1).isValid())
            Broken("a cell outside the sheet", s, 0, 0);
    }
    if (!book.RowNumbers(names.size()).isEmpty() || book.RowCount(-1) != 0 || book.Cell(names.size(), 1, 1).isValid())
        Broken("a sheet that is not in the workbook", names.size(), 0, 0);
    return 0;
}
