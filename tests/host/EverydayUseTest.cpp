// The application speaks Russian in the toolkit's own widgets too, and its forms close only when asked.
#include <gtest/gtest.h>

#include <QCalendarWidget>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QScreen>
#include <QSplitter>
#include <QTableWidget>
#include <QTest>
#include <QToolButton>
#include <QVBoxLayout>

#include "host/DesktopDialogs.h"
#include "host/Dialogs.h"
#include "host/Language.h"
#include "host/WindowPlace.h"

TEST(Language, CalendarsDatesNumbersAndStandardButtonsAreRussian)
{
    const QLocale before;
    ASSERT_TRUE(UseRussianLanguage()) << "the toolkit's Russian translations are missing";
    EXPECT_EQ(QLocale().toString(QDate(2026, 11, 24), QStringLiteral("d MMMM yyyy")), "24 ноября 2026");
    EXPECT_EQ(QLocale().toString(1234.5, 'f', 1), QString("1") + QChar(0x00A0) + "234,5");

    QCalendarWidget calendar;
    calendar.setSelectedDate(QDate(2026, 11, 24));
    calendar.show();
    auto* month = calendar.findChild<QToolButton*>("qt_calendar_monthbutton");
    ASSERT_NE(month, nullptr);
    EXPECT_EQ(month->text().toLower(), "ноябрь");
    EXPECT_EQ(calendar.firstDayOfWeek(), Qt::Monday);

    QDialogButtonBox buttons(QDialogButtonBox::Close | QDialogButtonBox::Cancel);
    EXPECT_EQ(buttons.button(QDialogButtonBox::Close)->text().remove('&'), "Закрыть");
    EXPECT_EQ(buttons.button(QDialogButtonBox::Cancel)->text().remove('&'), "Отмена");
    QLocale::setDefault(before);  // the other tests keep theirs
}

TEST(Dialogs, EnterInAFieldOrGridDoesNotCloseTheForm)
{
    for (const bool kept : {false, true}) {
        QDialog dialog;
        auto* layout = new QVBoxLayout(&dialog);
        auto* field = new QLineEdit(&dialog);
        auto* grid = new QTableWidget(2, 2, &dialog);
        auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
        layout->addWidget(field);
        layout->addWidget(grid);
        layout->addWidget(buttons);
        QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
        buttons->button(QDialogButtonBox::Close)->setDefault(true);
        if (kept)
            host::KeepOpenOnEnter(dialog);
        dialog.show();
        grid->setFocus();
        grid->setCurrentCell(1, 1);
        QTest::keyClick(grid, Qt::Key_Return);
        EXPECT_EQ(dialog.isVisible(), kept) << "grid, kept " << kept;  // without it the form closes
        dialog.show();
        field->setFocus();
        QTest::keyClick(field, Qt::Key_Enter);
        EXPECT_EQ(dialog.isVisible(), kept) << "field, kept " << kept;
        // On a button Enter presses that button.
        dialog.show();
        buttons->button(QDialogButtonBox::Close)->setFocus();
        QTest::keyClick(buttons->button(QDialogButtonBox::Close), Qt::Key_Return);
        EXPECT_FALSE(dialog.isVisible());
    }
}

TEST(WindowPlace, FormsFitTheScreenAndComeBackAsTheUserLeftThem)
{
    // A form wider than a small screen is cut to the screen's free area, less room for its frame.
    EXPECT_EQ(FittedSize(QSize(1300, 740), QSize(1366, 728)), QSize(1300, 688));
    EXPECT_EQ(FittedSize(QSize(1300, 740), QSize(1920, 1040)), QSize(1300, 740));
    EXPECT_EQ(FittedSize(QSize(1300, 740), QSize(1024, 600)), QSize(1008, 560));
    EXPECT_EQ(FittedSize(QSize(1300, 740), QSize()), QSize(1300, 740));

    const QString name = QStringLiteral("PlaceTest");
    auto open = [&](QWidget& window, QSplitter*& splitter) {
        auto* layout = new QVBoxLayout(&window);
        splitter = new QSplitter(&window);
        splitter->addWidget(new QLabel("слева"));
        splitter->addWidget(new QLabel("справа"));
        layout->addWidget(splitter);
        KeepWindowPlace(window, name, QSize(5000, 5000));
        window.show();
    };
    QSize first;
    {
        QWidget window;
        QSplitter* splitter = nullptr;
        open(window, splitter);
        const QSize screen = window.screen()->availableGeometry().size();
        first = window.size();
        EXPECT_EQ(first, FittedSize(QSize(5000, 5000), screen));
        window.resize(420, 310);
        splitter->setSizes({100, 300});
        window.hide();
    }
    {
        QWidget window;
        QSplitter* splitter = nullptr;
        open(window, splitter);
        EXPECT_EQ(window.size(), QSize(420, 310));
        EXPECT_NEAR(splitter->sizes().value(0), 100, 2);  // the handle takes its pixel
    }
}
