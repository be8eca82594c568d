#include "host/XlsxReader.h"

#include <QIODevice>
#include <QSet>
#include <QXmlStreamReader>
#include <algorithm>
#include <cmath>
#include <memory>
#include <zip.h>

namespace {
quint64 key(int row, int column) { return (static_cast<quint64>(row) << 20) | static_cast<quint64>(column); }

// One part of the archive as the XML reader takes it, unpacked as it is read, so that no more of the part is held
// at a time than the token being read. Only a part that has already unpacked within the limits is opened this
// way; should it unpack to anything else the second time, it is damaged.
class PartStream : public QIODevice {
public:
    PartStream(zip_file_t* file, qint64 size) : file_(file), size_(size)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }
    ~PartStream() override { zip_fclose(file_); }
    bool isSequential() const override { return true; }
    bool damaged() const { return damaged_; }

protected:
    qint64 readData(char* data, qint64 maxSize) override
    {
        if (damaged_)
            return -1;
        if (read_ == size_) {
            char more;
            if (zip_fread(file_, &more, 1) != 0)
                damaged_ = true;
            return damaged_ ? -1 : 0;
        }
        const zip_int64_t n = zip_fread(file_, data, static_cast<zip_uint64_t>(std::min(maxSize, size_ - read_)));
        if (n <= 0) {
            damaged_ = true;
            return -1;
        }
        read_ += n;
        return n;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    zip_file_t* file_;
    qint64 size_, read_ = 0;
    bool damaged_ = false;
};

// The parts of the workbook's archive, each measured within the limits before it is read.
class Archive {
public:
    Archive(const QString& file, const TXlsxLimits& limits) : limits_(limits)
    {
        int error = 0;
        zip_ = zip_open(file.toLocal8Bit().constData(), ZIP_RDONLY, &error);
    }
    ~Archive()
    {
        if (zip_)
            zip_close(zip_);
    }
    bool isOpen() const { return zip_ != nullptr; }
    // The part to read; none when it is missing or empty, or, with the reason, when it is damaged or past a
    // limit. The sizes an archive states may lie, so the part is unpacked once without being kept to count what
    // it really holds: a bomb costs the time of unpacking it up to the limit, not the memory.
    std::unique_ptr<PartStream> Open(const QString& entry, QString& error)
    {
        const QByteArray name = entry.toUtf8();
        zip_file_t* file = zip_fopen(zip_, name.constData(), 0);
        if (!file)
            return nullptr;
        char buffer[65536];
        qint64 size = 0;
        zip_int64_t n;
        while ((n = zip_fread(file, buffer, sizeof buffer)) > 0) {
            size += n;
            total_ += n;
            if (size > limits_.PartBytes || total_ > limits_.TotalBytes) {
                error = QStringLiteral("часть %1 больше допустимого (%2 МБ в распакованном виде)")
                            .arg(entry)
                            .arg((size > limits_.PartBytes ? limits_.PartBytes : limits_.TotalBytes) >> 20);
                zip_fclose(file);
                return nullptr;
            }
        }
        zip_fclose(file);
        file = n < 0 || size == 0 ? nullptr : zip_fopen(zip_, name.constData(), 0);
        if (n < 0 || (size > 0 && !file))
            error = Damaged(entry);
        return file ? std::make_unique<PartStream>(file, size) : nullptr;
    }
    static QString Damaged(const QString& entry) { return QStringLiteral("часть %1 повреждена").arg(entry); }

private:
    zip_t* zip_ = nullptr;
    TXlsxLimits limits_;
    qint64 total_ = 0;
};

// "AB12" -> row 12, column 28; false for a reference outside the format's sheet.
bool parseReference(const QStringView ref, int& row, int& column)
{
    column = 0;
    int i = 0;
    for (; i < ref.size() && i < 4 && ref[i].isLetter(); ++i) {
        const char16_t c = ref[i].toUpper().unicode();
        if (c < 'A' || c > 'Z')
            return false;
        column = column * 26 + (c - 'A' + 1);
    }
    bool ok = false;
    const qlonglong r = ref.mid(i).toLongLong(&ok);
    row = ok && r >= 1 && r <= kXlsxMaxRows ? static_cast<int>(r) : 0;
    return row > 0 && column >= 1 && column <= kXlsxMaxColumns;
}

bool sharedStrings(PartStream& xml, int limit, QStringList& strings, QString& error)
{
    QXmlStreamReader r(&xml);
    QString current;
    bool inItem = false;
    while (!r.atEnd()) {
        r.readNext();
        if (r.isStartElement() && r.name() == QLatin1String("si")) {
            inItem = true;
            current.clear();
        } else if (r.isStartElement() && r.name() == QLatin1String("t") && inItem) {
            current += r.readElementText();
        } else if (r.isEndElement() && r.name() == QLatin1String("si")) {
            if (strings.size() >= limit) {
                error = QStringLiteral("в xl/sharedStrings.xml больше %1 строк").arg(limit);
                return false;
            }
            strings << current;
            inItem = false;
        }
    }
    if (xml.damaged())
        error = Archive::Damaged(QStringLiteral("xl/sharedStrings.xml"));
    else if (r.hasError())
        error = QStringLiteral("xl/sharedStrings.xml: %1 (строка %2)").arg(r.errorString()).arg(r.lineNumber());
    return error.isEmpty();
}

// The sheets of the workbook, by name, and the parts that hold them (through the workbook's relationships;
// by position in a workbook without them).
bool sheetParts(Archive& archive, int limit, QStringList& names, QStringList& parts, QString& error)
{
    const QString workbookPart = QStringLiteral("xl/workbook.xml");
    const std::unique_ptr<PartStream> workbook = archive.Open(workbookPart, error);
    if (!workbook) {
        if (error.isEmpty())
            error = QStringLiteral("нет части xl/workbook.xml: это не книга Excel (.xlsx)");
        return false;
    }
    QStringList ids;
    QXmlStreamReader w(workbook.get());
    while (!w.atEnd()) {
        w.readNext();
        if (w.isStartElement() && w.name() == QLatin1String("sheet")) {
            // every sheet costs its part read again: their number is bounded as well as their bytes
            if (names.size() >= limit) {
                error = QStringLiteral("в xl/workbook.xml больше %1 листов").arg(limit);
                return false;
            }
            names << w.attributes().value(QLatin1String("name")).toString();
            QString id;
            for (const QXmlStreamAttribute& a : w.attributes())
                if (a.name() == QLatin1String("id"))
                    id = a.value().toString();
            ids << id;
        }
    }
    if (workbook->damaged()) {
        error = Archive::Damaged(workbookPart);
        return false;
    }
    if (w.hasError()) {
        error = QStringLiteral("xl/workbook.xml: %1 (строка %2)").arg(w.errorString()).arg(w.lineNumber());
        return false;
    }
    // Only the relationships of the sheets are kept, however many the part lists.
    const QSet<QString> wanted(ids.cbegin(), ids.cend());
    QHash<QString, QString> targets;
    const QString relsPart = QStringLiteral("xl/_rels/workbook.xml.rels");
    const std::unique_ptr<PartStream> rels = archive.Open(relsPart, error);
    if (!error.isEmpty())
        return false;
    if (rels) {
        QXmlStreamReader r(rels.get());
        while (!r.atEnd()) {
            r.readNext();
            if (r.isStartElement() && r.name() == QLatin1String("Relationship")) {
                const QString id = r.attributes().value(QLatin1String("Id")).toString();
                if (!wanted.contains(id))
                    continue;
                QString target = r.attributes().value(QLatin1String("Target")).toString();
                target = target.startsWith(QLatin1Char('/')) ? target.mid(1) : QStringLiteral("xl/") + target;
                targets.insert(id, target);
            }
        }
        if (rels->damaged()) {
            error = Archive::Damaged(relsPart);
            return false;
        }
        if (r.hasError()) {
            error =
                QStringLiteral("xl/_rels/workbook.xml.rels: %1 (строка %2)").arg(r.errorString()).arg(r.lineNumber());
            return false;
        }
    }
    for (int s = 0; s < names.size(); ++s)
        parts << targets.value(ids[s], QStringLiteral("xl/worksheets/sheet%1.xml").arg(s + 1));
    return true;
}
}  // namespace

bool TXlsxWorkbook::Open(const QString& file, QString& error, const TXlsxLimits& limits)
{
    names_.clear();
    sheets_.clear();
    Archive archive(file, limits);
    if (!archive.isOpen()) {
        error = QStringLiteral("Не удалось открыть книгу %1: это не файл .xlsx или он поврежден").arg(file);
        return false;
    }
    const auto fail = [&](const QString& why) {
        error = QStringLiteral("Книга %1 не читается: %2").arg(file, why);
        names_.clear();
        sheets_.clear();
        return false;
    };
    QStringList parts;
    QString why;
    if (!sheetParts(archive, limits.Sheets, names_, parts, why))
        return fail(why);
    QStringList strings;
    {
        const std::unique_ptr<PartStream> shared = archive.Open(QStringLiteral("xl/sharedStrings.xml"), why);
        // A workbook of numbers only may have no shared strings at all.
        if (!why.isEmpty() || (shared && !sharedStrings(*shared, limits.SharedStrings, strings, why)))
            return fail(why);
    }
    for (int s = 0; s < names_.size(); ++s) {
        Sheet sheet;
        const std::unique_ptr<PartStream> xml = archive.Open(parts[s], why);
        if (!why.isEmpty())
            return fail(why);
        if (!xml)
            return fail(QStringLiteral("нет части %1 листа «%2»").arg(parts[s], names_[s]));
        QXmlStreamReader r(xml.get());
        int row = 0, column = 0;
        QString type, value, inline_, reference;
        bool inCell = false;
        QSet<int> rows;
        while (!r.atEnd()) {
            r.readNext();
            if (r.isStartElement() && r.name() == QLatin1String("c")) {
                reference = r.attributes().value(QLatin1String("r")).toString();
                if (!parseReference(reference, row, column))
                    return fail(QStringLiteral("лист «%1»: ссылка на ячейку «%2» вне листа").arg(names_[s], reference));
                inCell = true;
                type = r.attributes().value(QLatin1String("t")).toString();
                value.clear();
                inline_.clear();
            } else if (inCell && r.isStartElement() && r.name() == QLatin1String("v")) {
                value = r.readElementText();
            } else if (inCell && r.isStartElement() && r.name() == QLatin1String("t")) {
                inline_ += r.readElementText();
            } else if (inCell && r.isEndElement() && r.name() == QLatin1String("c")) {
                inCell = false;
                QVariant v;
                if (type == QLatin1String("s")) {
                    bool ok = false;
                    const int index = value.toInt(&ok);
                    if (!ok || index < 0 || index >= strings.size())
                        return fail(QStringLiteral("лист «%1», ячейка %2: нет общей строки %3")
                                        .arg(names_[s], reference, value));
                    v = strings.at(index);
                } else if (type == QLatin1String("inlineStr")) {
                    v = inline_;
                } else if (type == QLatin1String("str") || type == QLatin1String("e")) {
                    v = value.isEmpty() ? QVariant() : QVariant(value);
                } else if (type == QLatin1String("b")) {
                    v = value == QLatin1String("1");
                } else if (!value.isEmpty()) {
                    bool ok = false;
                    const double d = value.toDouble(&ok);
                    if (!ok || !std::isfinite(d))
                        return fail(QStringLiteral("лист «%1», ячейка %2: «%3» не конечное число")
                                        .arg(names_[s], reference, value));
                    v = d;
                }
                if (v.isValid() && !(v.typeId() == QMetaType::QString && v.toString().isEmpty())) {
                    sheet.cells.insert(key(row, column), v);
                    sheet.rows = std::max(sheet.rows, row);
                    rows.insert(row);
                }
            }
        }
        if (xml->damaged())
            return fail(Archive::Damaged(parts[s]));
        if (r.hasError())
            return fail(QStringLiteral("лист «%1» (%2): %3 (строка %4)")
                            .arg(names_[s], parts[s], r.errorString())
                            .arg(r.lineNumber()));
        sheet.rowNumbers = QList<int>(rows.begin(), rows.end());
        std::sort(sheet.rowNumbers.begin(), sheet.rowNumbers.end());
        sheets_ << sheet;
    }
    return true;
}

QVariant TXlsxWorkbook::Cell(int sheet, int row, int column) const
{
    // outside the format's sheet there is nothing (a column past the last would find a cell of another row)
    if (sheet < 0 || sheet >= sheets_.size() || row < 1 || row > kXlsxMaxRows || column < 1 || column > kXlsxMaxColumns)
        return {};
    return sheets_[sheet].cells.value(key(row, column));
}

int TXlsxWorkbook::RowCount(int sheet) const { return sheet < 0 || sheet >= sheets_.size() ? 0 : sheets_[sheet].rows; }

QList<int> TXlsxWorkbook::RowNumbers(int sheet) const
{
    return sheet < 0 || sheet >= sheets_.size() ? QList<int>() : sheets_[sheet].rowNumbers;
}
