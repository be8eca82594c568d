// The application speaks Russian in the toolkit's own widgets too.
#include "host/Language.h"

#include <gtest/gtest.h>

#include <QCalendarWidget>
#include <QDialogButtonBox>
#include <QLocale>
#include <QPushButton>
#include <QToolButton>

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
