#include "host/WrittenCells.h"

#include <QJsonDocument>
#include <QJsonObject>

#include "host/NumericHelpers.h"

QString WrittenCellsText(const TWrittenCells& cells)
{
    QJsonObject object;
    for (auto it = cells.cbegin(); it != cells.cend(); ++it) {
        const QVariant& v = it.value();
        const QString key = QString::number(it.key());
        if (!v.isValid() || (v.typeId() == QMetaType::Double && isEmptyFloat(v.toDouble())))
            object.insert(key, QJsonValue());
        else if (v.typeId() == QMetaType::Double)
            object.insert(key, v.toDouble());
        else
            object.insert(key, v.toString());
    }
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

bool ReadWrittenCells(const QVariant& cell, TWrittenCells& cells)
{
    cells.clear();
    if (cell.typeId() != QMetaType::QString)
        return false;
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(cell.toString().toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return false;
    const QJsonObject object = document.object();
    for (auto it = object.constBegin(); it != object.constEnd(); ++it) {
        bool ok = false;
        const int column = it.key().toInt(&ok);
        if (!ok)
            return false;
        const QJsonValue v = it.value();
        cells.insert(column, v.isDouble()   ? QVariant(v.toDouble())
                             : v.isString() ? QVariant(v.toString())
                                            : QVariant());
    }
    return true;
}
