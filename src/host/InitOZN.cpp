#include "host/InitOZN.h"

#include <QDir>
#include <QStandardPaths>

#include "host/Spreadsheet.h"

namespace {
std::unique_ptr<TInitOZN> g_init;
const QString kParams = QStringLiteral("Params");

QString key(const QString& section, const QString& name) { return section + QLatin1Char('/') + name; }
}  // namespace

TInitOZN* Init(bool create)
{
    if (!g_init && create)
        g_init = std::make_unique<TInitOZN>();
    return g_init.get();
}

void ResetInit() { g_init.reset(); }

TInitOZN::TInitOZN(const QString& iniPath) : settings_(std::make_unique<QSettings>(iniPath, QSettings::IniFormat)) {}

QString TInitOZN::DefaultPath()
{
    QString dir = qEnvironmentVariable("OZN3_CONFIG_DIR");
    if (dir.isEmpty())
        dir = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/ozn3");
    return QDir(dir).filePath(QStringLiteral("ozn3.ini"));
}

QVariant TInitOZN::GetParam(int number) const
{
    static const QHash<int, QVariant> defaults{
        {InitParam::PesResultsWithSpreadsheet, true},
        {InitParam::DefaultCosFi, 0.9},
        {InitParam::DefaultKzap, 0.5},
    };
    if (const auto it = params_.constFind(number); it != params_.cend())
        return *it;
    const QVariant value = settings_->value(key(kParams, QString::number(number)), defaults.value(number));
    params_.insert(number, value);
    return value;
}

bool TInitOZN::GetParamBool(int number) const
{
    const QVariant v = GetParam(number);
    if (v.typeId() == QMetaType::QString) {
        const QString s = v.toString().trimmed().toLower();
        return s == QLatin1String("1") || s == QLatin1String("true") || s == QLatin1String("yes");
    }
    return v.toBool();
}

void TInitOZN::SetParam(int number, const QVariant& value)
{
    settings_->setValue(key(kParams, QString::number(number)), value);
    params_.insert(number, value);
}

double TInitOZN::GetDefaultCosFi() const { return GetParam(InitParam::DefaultCosFi).toDouble(); }

double TInitOZN::GetDefaultKzap() const { return GetParam(InitParam::DefaultKzap).toDouble(); }

int TInitOZN::LoadIntParam(const QString& section, const QString& name, int defaultValue) const
{
    bool ok = false;
    const int v = settings_->value(key(section, name), defaultValue).toInt(&ok);
    return ok ? v : defaultValue;
}

void TInitOZN::SaveIntParam(const QString& section, const QString& name, int value)
{
    settings_->setValue(key(section, name), value);
}

QString TInitOZN::LoadStrParam(const QString& section, const QString& name, const QString& defaultValue) const
{
    return settings_->value(key(section, name), defaultValue).toString();
}

void TInitOZN::SaveStrParam(const QString& section, const QString& name, const QString& value)
{
    // A literal of the plug-in would point into its image, which is unloaded before the settings are
    // written at exit: keep a copy of our own.
    settings_->setValue(key(section, name), QString(value.constData(), value.size()));
}

QByteArray TInitOZN::LoadBinaryParam(const QString& section, const QString& name) const
{
    return QByteArray::fromBase64(settings_->value(key(section, name)).toByteArray());
}

void TInitOZN::SaveBinaryParam(const QString& section, const QString& name, const QByteArray& value)
{
    // Base64 keeps the INI file readable and free of escapes.
    settings_->setValue(key(section, name), value.toBase64());
}

bool TInitOZN::isExcelInstalled() const { return host::IsSpreadsheetInstalled(); }
