// The checks of the scheme workbook and the way back from a stored scheme to rows, without a database.
#include "host/scheme/SchemeBook.h"

#include <gtest/gtest.h>

#include "host/NumericHelpers.h"
#include "scheme/SchemeTestBooks.h"
#include "support/TestSupport.h"

using namespace scheme;
using fider::TConductor;
using scheme_tests::Book;
using scheme_tests::GoodBook;

namespace {
TConductorCatalogue Catalogue()
{
    TConductorCatalogue c;
    const auto add = [&](int ident, const char* marka, double f, bool cable) {
        TConductor p;
        p.Ident = ident;
        p.Marka = QString::fromUtf8(marka);
        p.F = f;
        p.R0 = 0.5;
        p.X0 = 0.3;
        p.Cable = cable;
        p.Known = true;
        c.Add(p);
    };
    add(1, "А", 50, false);
    add(2, "А", 35, false);
    add(3, "АВБбШв", 120, true);
    add(4, "СИП-2", 70, false);
    add(5, "СИП-2", 70, false);  // the same name twice: ambiguous
    return c;
}

QStringList Problems(const TCheckedBook& c) { return ProblemTexts(c.Problems); }
}  // namespace

TEST(SchemeBook, AGoodWorkbookBecomesFeedersWithSectionsFromTheSupplyCentre)
{
    const TCheckedBook c = CheckSchemeBook(GoodBook().book, Catalogue());
    ASSERT_TRUE(c.Ok()) << Problems(c).join('\n').toStdString();
    ASSERT_EQ(c.Fiders.size(), 2u);  // "л-1" and "Л-1" are one feeder; "тп" is the supply centre
    const TFiderScheme& f = c.Fiders[0];
    EXPECT_EQ(f.Name, "Л-1");
    EXPECT_EQ(f.FirstRow, 2);
    ASSERT_EQ(f.Sections.size(), 5u);
    QStringList order;
    for (const TSchemeSection& s : f.Sections)
        order << s.From + ">" + s.To;
    // Breadth first from the centre, the users' order kept among the sections of one node.
    EXPECT_EQ(order.join(' '), "ТП>1 1>2 1>4 2>3 3>5");
    const TSchemeSection& head = f.Sections[0];
    EXPECT_DOUBLE_EQ(head.Length, 0.05);
    EXPECT_EQ(head.Phase, 1);
    EXPECT_EQ(head.Neutral, 2);
    EXPECT_EQ(head.Kind, fider::TSectionKind::Overhead);
    const TSchemeSection& off = f.Sections[1];
    EXPECT_FALSE(off.SwitchedOn);
    EXPECT_EQ(off.Owner, fider::TBalanceOwner::SSO);
    ASSERT_TRUE(off.Device.has_value());
    EXPECT_FALSE(*off.Device);
    EXPECT_EQ(f.Sections[2].Phases, fider::PhaseB);
    EXPECT_EQ(f.Sections[2].Owner, fider::TBalanceOwner::ConsumerOwned);
    EXPECT_DOUBLE_EQ(f.Sections[3].Length, 0.04);  // a decimal comma
    EXPECT_EQ(f.Sections[3].Phase, 2);             // the brand in another case
    EXPECT_EQ(f.Sections[4].Kind, fider::TSectionKind::Connecting);
    EXPECT_EQ(f.Sections[4].Phase, 0);
    EXPECT_FALSE(f.Sections[0].Device.has_value());
    // The kind of a section left empty follows its conductor: a cable.
    EXPECT_EQ(c.Fiders[1].Sections.at(0).Kind, fider::TSectionKind::Cable);

    ASSERT_EQ(f.Consumers.size(), 2u);
    EXPECT_EQ(f.Consumers[0].Phases, fider::PhaseB);
    EXPECT_DOUBLE_EQ(f.Consumers[0].Energy, 3500.5);
    EXPECT_DOUBLE_EQ(f.Consumers[0].Pust, 12);
    EXPECT_FALSE(f.Consumers[0].Owner.has_value());
    EXPECT_TRUE(isEmptyFloat(f.Consumers[1].Energy));
    EXPECT_EQ(f.Consumers[1].Owner, fider::TBalanceOwner::NotOnBalance);
    EXPECT_EQ(c.SectionCount(), 6);
    EXPECT_EQ(c.ConsumerCount(), 2);
}

TEST(SchemeBook, EveryFaultIsNamedWithItsCellAndOtherRowsAreNotBlamed)
{
    struct Case {
        const char* what;
        std::function<void(Book&)> spoil;
        QString expected;
    };
    const Case cases[] = {
        {"unknown brand", [](Book& b) { b.book.Sections[1].Cells[SPhase] = "А-35х"; },
         "Участки!E3: марка «А-35х» не найдена в справочнике проводов"},
        {"ambiguous brand", [](Book& b) { b.book.Sections[1].Cells[SNeutral] = "СИП-2-70"; },
         "Участки!F3: марка «СИП-2-70» неоднозначна: в справочнике проводов 2 таких проводов"},
        {"negative length", [](Book& b) { b.book.Sections[3].Cells[SLength] = "-0.03"; },
         "Участки!D5: Длина не может быть отрицательной (-0.03)"},
        {"length not a number", [](Book& b) { b.book.Sections[3].Cells[SLength] = "тридцать"; },
         "Участки!D5: Длина «тридцать» не число"},
        {"unknown phase letter", [](Book& b) { b.book.Sections[4].Cells[SPhases] = "D"; },
         "Участки!G6: фазы «D» неизвестны; допустимо: ABC, AB, BC, CA, A, B, C"},
        {"node fed twice",
         [](Book& b) {
             b.S({"Л-1", "2", "4", "0.01", "А-35", "", "B", "", "", "", ""});
         },
         "Участки!C8: узел «4» уже есть в строке 6: узел питается дважды"},
        {"missing start node", [](Book& b) { b.book.Sections[0].Cells[SFrom] = "22"; },
         "Участки!B2: узел начала «22» не найден среди узлов конца линии «Л-1» и не ТП"},
        {"loop", [](Book& b) { b.book.Sections[3].Cells[SFrom] = "3"; },
         "Участки!B2: петля: узлы «2» → «3» → «2» не связаны с ТП"},
        {"section phase the near node lacks",
         [](Book& b) {
             b.S({"Л-1", "4", "6", "0.01", "А-35", "", "A", "", "", "", ""});
         },
         "Участки!G8: фазы «A» не подведены к узлу «4»: участок строки 6 несёт «B»"},
        {"consumer on a phase its section lacks", [](Book& b) { b.book.Consumers[0].Cells[CPhase] = "C"; },
         "Абоненты!D2: фаза «C» не подведена к узлу «4»: участок строки 6 несёт «B»"},
        {"consumer phase unknown", [](Book& b) { b.book.Consumers[1].Cells[CPhase] = "AB"; },
         "Абоненты!D3: фаза «AB» неизвестна; допустимо: A, B, C, ABC"},
        {"two consumers on one node",
         [](Book& b) {
             b.book.Consumers[1].Cells[CNode] = "4";
             b.book.Consumers[1].Cells[CPhase] = "B";
         },
         "Абоненты!B3: к узлу «4» уже подключен абонент строки 2; у каждого абонента свой узел (ввод)"},
        {"consumer on an unknown node", [](Book& b) { b.book.Consumers[0].Cells[CNode] = "44"; },
         "Абоненты!B2: узла «44» нет среди узлов конца линии «Л-1»"},
        {"consumer of an unknown feeder", [](Book& b) { b.book.Consumers[0].Cells[CFider] = "Л-9"; },
         "Абоненты!A2: линии «Л-9» нет на листе «Участки»"},
        {"cos out of range", [](Book& b) { b.book.Consumers[0].Cells[CCosFi] = "1.2"; },
         "Абоненты!G2: cos φ должен быть больше 0 и не больше 1 (1.2)"},
        {"unknown owner", [](Book& b) { b.book.Sections[0].Cells[SOwner] = "Чужой"; },
         "Участки!J2: Балансовая принадлежность: «Чужой» нет в списке; допустимо: На балансе, Не на балансе, "
         "Потребителя, ССО, ССП"},
        {"no conductor on an overhead line", [](Book& b) { b.book.Sections[0].Cells[SPhase] = ""; },
         "Участки!E2: не указана марка провода (без провода бывает только соединительная линия)"},
        {"supply centre as a far node", [](Book& b) { b.book.Sections[2].Cells[STo] = "ТП"; },
         "Участки!C4: «ТП» — центр питания линии, он не может быть узлом конца"},
        {"consumer at a switching device",
         [](Book& b) {
             b.book.Consumers[0].Cells[CNode] = "2";
             b.book.Consumers[0].Cells[CPhase] = "A";
         },
         "Абоненты!B2: в узле «2» коммутационный аппарат; абонента подключите к узлу за ним"},
    };
    for (const Case& c : cases) {
        Book b = GoodBook();
        c.spoil(b);
        const TCheckedBook checked = CheckSchemeBook(b.book, Catalogue());
        EXPECT_EQ(Problems(checked), QStringList{c.expected}) << c.what;
    }
}

TEST(SchemeBook, StoredSchemeComesBackAsRowsThatCheckToTheSameScheme)
{
    // A stored feeder whose second section is kept the other way round, with two nodes of one name,
    // a node called like the supply centre and a switching device that is off.
    fider::TFiderHHInfo f;
    f.Guid = 100;
    f.Name = "Л-7";
    const auto node = [&](int guid, const char* name, fider::TNodeKind kind = fider::TNodeKind::Plain) {
        fider::TNode038 n;
        n.Guid = guid;
        n.Name = QString::fromUtf8(name);
        n.Kind = kind;
        f.Nodes.push_back(n);
    };
    node(101, "Опора");
    node(102, "Опора");
    node(103, "ТП");
    node(104, "Р-1", fider::TNodeKind::SwitchGear);
    f.Nodes.back().SwitchedOn = false;
    node(105, "Ввод", fider::TNodeKind::Consumer);
    TConductor a50;
    a50.Ident = 1;
    a50.Marka = "А";
    a50.F = 50;
    a50.Known = true;
    TConductor a35 = a50;
    a35.Ident = 2;
    a35.F = 35;
    const auto line = [&](int n1, int n2, double length, TConductor phase, TConductor neutral,
                          fider::TPhaseSet phases) {
        fider::TLine038 l;
        l.Guid = 200 + static_cast<int>(f.Lines.size());
        l.Node1 = n1;
        l.Node2 = n2;
        l.Length = length;
        l.Phase = phase;
        l.Neutral = neutral;
        l.Phases = phases;
        f.Lines.push_back(l);
    };
    line(100, 101, 0.05, a50, a50, fider::PhasesABC);
    line(102, 101, 0.04, a50, a35, fider::PhasesABC);  // stored far end first
    line(102, 103, 0.03, a35, a35, fider::PhaseA | fider::PhaseC);
    line(103, 104, 0.0, a35, a35, fider::PhaseA | fider::PhaseC);
    line(104, 105, 0.02, a35, a35, fider::PhaseC);
    f.Lines.back().Owner = fider::TBalanceOwner::ConsumerOwned;
    fider::TAbonentNode038 consumer;
    consumer.NodeGuid = 105;
    consumer.Name = "Дом";
    consumer.Phases = fider::PhaseC;
    consumer.Wa = 1.25;  // thousand kWh
    consumer.Pust = EmptyFloat();
    consumer.CosFi = 0.9;
    f.Consumers.push_back(consumer);

    const TSchemeBook book = BookFromFiders({f});
    ASSERT_EQ(book.Sections.size(), 5u);
    QStringList rows;
    for (const TBookRow& r : book.Sections)
        rows << r.Cells.mid(SFrom, 7).join('|');
    EXPECT_EQ(rows, (QStringList{"ТП|Опора|0.05|А-50||ABC|Воздушная линия",
                                 "Опора|Опора [102]|0.04|А-50|А-35|ABC|Воздушная линия",
                                 "Опора [102]|ТП [103]|0.03|А-35||CA|Воздушная линия",
                                 "ТП [103]|Р-1|0|А-35||CA|Воздушная линия", "Р-1|Ввод|0.02|А-35||C|Воздушная линия"}));
    EXPECT_EQ(book.Sections[3].Cell(SDevice), "Отключен");
    EXPECT_EQ(book.Sections[4].Cell(SOwner), "Потребителя");
    ASSERT_EQ(book.Consumers.size(), 1u);
    EXPECT_EQ(book.Consumers[0].Cells.join('|'), "Л-7|Ввод|Дом|C||1250|0.9|");

    TConductorCatalogue catalogue;
    catalogue.Add(a50);
    catalogue.Add(a35);
    const TCheckedBook back = CheckSchemeBook(book, catalogue);
    ASSERT_TRUE(back.Ok()) << Problems(back).join('\n').toStdString();
    ASSERT_EQ(back.Fiders.size(), 1u);
    EXPECT_EQ(back.Fiders[0].Sections[1].Neutral, 2);
    EXPECT_EQ(back.Fiders[0].Sections[2].Phases, fider::PhaseA | fider::PhaseC);
    EXPECT_DOUBLE_EQ(back.Fiders[0].Consumers[0].Energy, 1250);
}
