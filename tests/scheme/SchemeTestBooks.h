#pragma once
// Scheme workbooks the scheme tests share.
#include "host/scheme/SchemeBook.h"

namespace scheme_tests {
using scheme::TBookRow;
using scheme::TSchemeBook;

// A row of "Участки" from its cells A to K, numbered as rows of a sheet from 2 on.
struct Book {
    TSchemeBook book;
    Book& S(QStringList cells)
    {
        TBookRow r;
        r.Row = static_cast<int>(book.Sections.size()) + 2;
        r.Cells = cells;
        book.Sections.push_back(r);
        return *this;
    }
    Book& C(QStringList cells)
    {
        TBookRow r;
        r.Row = static_cast<int>(book.Consumers.size()) + 2;
        r.Cells = cells;
        book.Consumers.push_back(r);
        return *this;
    }
};

// One feeder: ТП → 1 → 2 → 3, with a branch 1 → 4 of phase B, and a feeder Л-2 of one cable section.
inline Book GoodBook()
{
    Book b;
    b.S({"Л-1", "2", "3", "0,04", "а-35", "", "", "", "", "", ""})  // rows out of order on purpose
        .S({"Л-1", "ТП", "1", "0.05", "А-50", "А-35", "ABC", "", "Включен", "На балансе", ""})
        .S({"Л-2", "тп", "Кабель", "0.1", "АВБбШв-120", "", "", "", "", "", ""})
        .S({"Л-1", "1", "2", "0.03", "А-50", "", "", "", "Отключен", "ССО", "Отключен"})
        .S({"л-1", "1", "4", "0.02", "А-35", "", "B", "Воздушная линия", "", "Потребителя", ""})
        .S({"Л-1", "3", "5", "0", "", "", "", "Соединительная линия", "", "", ""});
    b.C({"Л-1", "4", "Дом 1", "B", "12", "3500,5", "0.95", ""})
        .C({"Л-1", "5", "Магазин", "ABC", "", "", "", "Не на балансе"});
    return b;
}

}  // namespace scheme_tests
