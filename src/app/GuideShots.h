#pragma once
// Pictures of the everyday windows for the user's guide, taken from the running application: the main window
// is driven through its menu as a user would, each window that opens is pictured and closed.
#include <QList>
#include <QSize>
#include <QString>
#include <QStringList>

class MainWindow;

struct TGuideShot {
    QString File;       // the picture, in the folder given
    QString Title;      // the window's title
    QSize Window;       // the size of the window pictured
    QSize Content;      // the largest list, table or page of the window: what the user works in
    QStringList Texts;  // the captions of its buttons, labels and tabs, to be read over
};

struct TGuideShots {
    QList<TGuideShot> Shots;
    QStringList Problems;  // a window that did not open, a message that came instead
};

// Takes the pictures on the main window of a database that holds a network with results (the demo network).
TGuideShots TakeGuideShots(MainWindow& window, const QString& folder);
