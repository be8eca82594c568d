#pragma once
#include <QByteArray>
#include <QCryptographicHash>
#include <QFile>
#include <QString>

// The workbook a form writes, watched for the user's edits: whether the file has changed since the form last
// wrote or read it (the spreadsheet application saved it, or another program replaced it).
class TWorkbookWatch {
public:
    // The file as the form has just written or read it.
    void Mark(const QString& file)
    {
        file_ = file;
        digest_ = Digest(file);
    }
    void Forget()
    {
        file_.clear();
        digest_.clear();
    }
    // The form has written the workbook and it is still there.
    bool IsOpen() const { return !file_.isEmpty() && QFile::exists(file_); }
    bool ChangedOnDisk() const { return IsOpen() && Digest(file_) != digest_; }

private:
    static QByteArray Digest(const QString& file)
    {
        QFile f(file);
        if (!f.open(QIODevice::ReadOnly))
            return {};
        QCryptographicHash hash(QCryptographicHash::Sha1);
        hash.addData(&f);
        return hash.result();
    }
    QString file_;
    QByteArray digest_;
};
