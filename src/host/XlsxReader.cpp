#include "host/XlsxReader.h"

#include <QSet>
#include <QXmlStreamReader>
#include <algorithm>
#include <cmath>
#include <zip.h>


namespace {
quint64 key(int row, int column) { return (static_cast<quint64>(row) << 20) | static_cast<quint64>(column); }

// The parts of the workbook's archive, each read whole within the limits.
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
    // The unpacked part; empty when it is missing. A part past a limit is an error, found as it unpacks (the
    // sizes an archive states may lie).
    QByteArray Read(const QString& entry, QString& error)
    {
        QByteArray data;
        zip_file_t* file = zip_fopen(zip_, entry.toUtf8().constData(), 0);
        if (!file)
            return data;
        char buffer[65536];
        zip_int64_t n;
        while ((n = zip_fread(file, buffer, sizeof buffer)) > 0) {
            total_ += n;
            if (data.size() + n > limits_.PartBytes || total_ > limits_.TotalBytes) {
                error = QStringLiteral("часть %1 больше допустимого (%2 МБ в распакованном виде)")
                            .arg(entry)
                            .arg((data.size() + n > limits_.PartBytes ? limits_.PartBytes : limits_.TotalBytes) >> 20);
                zip_fclose(file);
                return {};
            }
            data.append(buffer, static_cast<int>(n));
        }
        if (n < 0)
            error = QStringLiteral("часть %1 повреждена").arg(entry);
        zip_fclose(file);
        return data;
    }

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

bool sharedStrings(const QByteArray& xml, int limit, QStringList& strings, QString& error)
{
    QXmlStreamReader r(xml);
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
    if (r.hasError()) {
        error = QStringLiteral("xl/sharedStrings.xml: %1 (строка %2)").arg(r.errorString()).arg(r.lineNumber());
        return false;
    }
    return true;
}

// The sheets of the workbook, by name, and the parts that hold them (through the workbook's relationships;
// by position in a workbook without them).
bool sheetParts(Archive& archive, QStringList& names, QStringList& parts, QString& error)
{
    const QByteArray workbook = archive.Read(QStringLiteral("xl/workbook.xml"), error);
    if (workbook.isEmpty()) {
        if (error.isEmpty())
            error = QStringLiteral("нет части xl/workbook.xml: это не книга Excel (.xlsx)");
        return false;
    }
    QStringList ids;
    QXmlStreamReader w(workbook);
    while (!w.atEnd()) {
        w.readNext();
        if (w.isStartElement() && w.name() == QLatin1String("sheet")) {
            names << w.attributes().value(QLatin1String("name")).toString();
            QString id;
            for (const QXmlStreamAttribute& a : w.attributes())
                if (a.name() == QLatin1String("id"))
                    id = a.value().toString();
            ids << id;
        }
    }
    if (w.hasError()) {
        error = QStringLiteral("xl/workbook.xml: %1 (строка %2)").arg(w.errorString()).arg(w.lineNumber());
        return false;
    }
    QHash<QString, QString> targets;
    const QByteArray rels = archive.Read(QStringLiteral("xl/_rels/workbook.xml.rels"), error);
    if (!error.isEmpty())
        return false;
    QXmlStreamReader r(rels);
    while (!rels.isEmpty() && !r.atEnd()) {
        r.readNext();
        if (r.isStartElement() && r.name() == QLatin1String("Relationship")) {
            QString target = r.attributes().value(QLatin1String("Target")).toString();
            target = target.startsWith(QLatin1Char('/')) ? target.mid(1) : QStringLiteral("xl/") + target;
            targets.insert(r.attributes().value(QLatin1String("Id")).toString(), target);
        }
    }
    if (r.hasError()) {
        error = QStringLiteral("xl/_rels/workbook.xml.rels: %1 (строка %2)").arg(r.errorString()).arg(r.lineNumber());
        return false;
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
    if (!sheetParts(archive, names_, parts, why))
        return fail(why);
    QStringList strings;
    const QByteArray shared = archive.Read(QStringLiteral("xl/sharedStrings.xml"), why);
    // A workbook of numbers only may have no shared strings at all.
    if (!why.isEmpty() || (!shared.isEmpty() && !sharedStrings(shared, limits.SharedStrings, strings, why)))
        return fail(why);
    for (int s = 0; s < names_.size(); ++s) {
        Sheet sheet;
        const QByteArray xml = archive.Read(parts[s], why);
        if (!why.isEmpty())
            return fail(why);
        if (xml.isEmpty())
            return fail(QStringLiteral("нет части %1 листа «%2»").arg(parts[s], names_[s]));
        QXmlStreamReader r(xml);
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
                        return fail(QStringLiteral("лист «%1», ячейка %2: нет общей строки %3").arg(names_[s], reference, value));
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
                        return fail(QStringLiteral("лист «%1», ячейка %2: «%3» не конечное число").arg(names_[s], reference, value));
                    v = d;
                }
                if (v.isValid() && !(v.typeId() == QMetaType::QString && v.toString().isEmpty())) {
                    sheet.cells.insert(key(row, column), v);
                    sheet.rows = std::max(sheet.rows, row);
                    rows.insert(row);
                }
            }
        }
        if (r.hasError())
            return fail(QStringLiteral("лист «%1» (%2): %3 (строка %4)").arg(names_[s], parts[s], r.errorString()).arg(r.lineNumber()));
        sheet.rowNumbers = QList<int>(rows.begin(), rows.end());
        std::sort(sheet.rowNumbers.begin(), sheet.rowNumbers.end());
        sheets_ << sheet;
    }
    return true;
}

QVariant TXlsxWorkbook::Cell(int sheet, int row, int column) const
{
    if (sheet < 0 || sheet >= sheets_.size())
        return {};
    return sheets_[sheet].cells.value(key(row, column));
}

int TXlsxWorkbook::RowCount(int sheet) const { return sheet < 0 || sheet >= sheets_.size() ? 0 : sheets_[sheet].rows; }

QList<int> TXlsxWorkbook::RowNumbers(int sheet) const
{
    return sheet < 0 || sheet >= sheets_.size() ? QList<int>() : sheets_[sheet].rowNumbers;
}
