#pragma once
#include <QByteArray>
#include <QHash>
#include <QSettings>
#include <QString>
#include <QVariant>
#include <memory>

#include "host/HostApi.h"

// The application's parameters and the per-user settings of the forms, kept in one INI file
// under the user's configuration folder (OZN3_CONFIG_DIR overrides the folder).
class OZN3HOST_API TInitOZN {
public:
    explicit TInitOZN(const QString& iniPath = DefaultPath());
    static QString DefaultPath();
    QString FileName() const { return settings_->fileName(); }

    // Numbered application parameters.
    QVariant GetParam(int number) const;
    bool GetParamBool(int number) const;
    void SetParam(int number, const QVariant& value);

    // Defaults for empty values of the loss calculations.
    double GetDefaultCosFi() const;
    double GetDefaultKzap() const;

    int LoadIntParam(const QString& section, const QString& key, int defaultValue = 0) const;
    void SaveIntParam(const QString& section, const QString& key, int value);
    QString LoadStrParam(const QString& section, const QString& key, const QString& defaultValue = {}) const;
    void SaveStrParam(const QString& section, const QString& key, const QString& value);
    QByteArray LoadBinaryParam(const QString& section, const QString& key) const;
    void SaveBinaryParam(const QString& section, const QString& key, const QByteArray& value);

    // A spreadsheet application is there to open workbooks in.
    bool isExcelInstalled() const;

    void Sync() { settings_->sync(); }

private:
    std::unique_ptr<QSettings> settings_;
    // Numbered parameters are read often (the defaults of every calculation); kept once read.
    mutable QHash<int, QVariant> params_;
};

// The application's parameter object; created on first use when create is true.
OZN3HOST_API TInitOZN* Init(bool create = true);
// Drops the shared parameter object (the next Init reads the file again).
OZN3HOST_API void ResetInit();

// Parameter numbers the library asks for.
namespace InitParam {
constexpr int PesResultsWithSpreadsheet = 131;  // true: the PES results form that works with the spreadsheet
constexpr int DefaultCosFi = 200;
constexpr int DefaultKzap = 201;
}  // namespace InitParam
