#include "host/XlsxFile.h"

#include <QFile>
#include <xlsxwriter.h>

#include "host/OutputFiles.h"

TXlsxFile::TXlsxFile(const QString& file, bool constantMemory)
    : file_(file), temporary_(file + QStringLiteral(".part")), constantMemory_(constantMemory)
{
}

TXlsxFile::~TXlsxFile()
{
    if (book_) {
        workbook_close(book_);
        QFile::remove(temporary_);
    }
}

lxw_workbook* TXlsxFile::Open(QString& error)
{
    if (!host::CheckOutputPath(file_, error))
        return nullptr;
    QFile::remove(temporary_);
    lxw_workbook_options options{};
    options.constant_memory = constantMemory_ ? LXW_TRUE : LXW_FALSE;
    book_ = workbook_new_opt(temporary_.toUtf8().constData(), &options);
    if (!book_)
        error = QStringLiteral("Не удалось создать файл %1").arg(file_);
    return book_;
}

bool TXlsxFile::Close(QString& error)
{
    const lxw_error status = workbook_close(book_);
    book_ = nullptr;
    if (status != LXW_NO_ERROR) {
        QFile::remove(temporary_);
        error = QStringLiteral("Не удалось записать файл %1: %2").arg(file_, QString::fromUtf8(lxw_strerror(status)));
        return false;
    }
    QFile::remove(file_);
    if (!QFile::rename(temporary_, file_)) {
        QFile::remove(temporary_);
        error = QStringLiteral("Не удалось записать файл %1").arg(file_);
        return false;
    }
    return true;
}

QString SheetProtectionPassword() { return QStringLiteral("ozn3"); }
