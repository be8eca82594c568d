#include "host/XlsxReader.h"

#include <QXmlStreamReader>
#include <zip.h>

namespace {
quint64 key(int row, int column) { return (static_cast<quint64>(row) << 20) | static_cast<quint64>(column); }

class Archive {
public:
    explicit Archive(const QString& file)
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
    QByteArray Read(const QString& entry) const
    {
        QByteArray data;
        zip_file_t* file = zip_fopen(zip_, entry.toUtf8().constData(), 0);
        if (!file)
            return data;
        char buffer[65536];
        zip_int64_t n;
        while ((n = zip_fread(file, buffer, sizeof buffer)) > 0)
            data.append(buffer, static_cast<int>(n));
        zip_fclose(file);
        return data;
    }

private:
    zip_t* zip_ = nullptr;
};

// "AB12" -> row 12, column 28.
bool parseReference(const QStringView ref, int& row, int& column)
{
    column = 0;
    int i = 0;
    for (; i < ref.size() && ref[i].isLetter(); ++i)
        column = column * 26 + (ref[i].toUpper().unicode() - 'A' + 1);
    bool ok = false;
    row = ref.mid(i).toInt(&ok);
    return ok && column > 0;
}

QStringList sharedStrings(const QByteArray& xml)
{
    QStringList strings;
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
            strings << current;
            inItem = false;
        }
    }
    return strings;
}
}  // namespace

bool TXlsxWorkbook::Open(const QString& file, QString& error)
{
    names_.clear();
    sheets_.clear();
    Archive archive(file);
    if (!archive.isOpen()) {
        error = QStringLiteral("Не удалось открыть книгу %1").arg(file);
        return false;
    }
    const QByteArray workbook = archive.Read(QStringLiteral("xl/workbook.xml"));
    if (workbook.isEmpty()) {
        error = QStringLiteral("Файл %1 не является книгой Excel (.xlsx)").arg(file);
        return false;
    }
    // Sheet names in their order; the n-th sheet is kept as xl/worksheets/sheet<n>.xml.
    QXmlStreamReader w(workbook);
    while (!w.atEnd()) {
        w.readNext();
        if (w.isStartElement() && w.name() == QLatin1String("sheet"))
            names_ << w.attributes().value(QLatin1String("name")).toString();
    }
    const QStringList strings = sharedStrings(archive.Read(QStringLiteral("xl/sharedStrings.xml")));
    for (int s = 0; s < names_.size(); ++s) {
        Sheet sheet;
        QXmlStreamReader r(archive.Read(QStringLiteral("xl/worksheets/sheet%1.xml").arg(s + 1)));
        int row = 0, column = 0;
        QString type, value, inline_;
        bool inCell = false;
        while (!r.atEnd()) {
            r.readNext();
            if (r.isStartElement() && r.name() == QLatin1String("c")) {
                inCell = parseReference(r.attributes().value(QLatin1String("r")), row, column);
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
                if (type == QLatin1String("s"))
                    v = strings.value(value.toInt());
                else if (type == QLatin1String("inlineStr"))
                    v = inline_;
                else if (type == QLatin1String("str") || type == QLatin1String("e"))
                    v = value.isEmpty() ? QVariant() : QVariant(value);
                else if (type == QLatin1String("b"))
                    v = value == QLatin1String("1");
                else if (!value.isEmpty())
                    v = value.toDouble();
                if (v.isValid() && !(v.typeId() == QMetaType::QString && v.toString().isEmpty())) {
                    sheet.cells.insert(key(row, column), v);
                    sheet.rows = std::max(sheet.rows, row);
                }
            }
        }
        if (r.hasError()) {
            error = QStringLiteral("Лист \"%1\" книги %2 не читается: %3").arg(names_[s], file, r.errorString());
            return false;
        }
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
