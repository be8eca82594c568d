#pragma once
// The user's guide inside the program: F1 opens it on the part about the window in front, "Справка" on its
// start. The guide is docs/guide.md with its pictures, shown as it is written.
#include <QDialog>
#include <QString>

class QTextBlock;
class QTextBrowser;

// Where the guide is: $OZN3_GUIDE, else share/ozn3/guide.md beside the application, else the sources' docs/.
QString GuidePath();
// The number of the guide's part about a window, by the window's object name (0: the start of the guide).
int GuidePartOf(const QString& windowName);

class TGuideWindow : public QDialog {
    Q_OBJECT
public:
    // A window of its own over the window asked about (usable while that window is modal).
    explicit TGuideWindow(QWidget* over);
    // False when the guide is not found (the reason is on the window).
    bool Load(const QString& file);
    // Shows the part with that number at the top; false when there is none.
    bool ShowPart(int part);
    QTextBrowser* Browser() const { return browser_; }

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    // The pictures as wide as the text at most (they are taken on a whole screen).
    // False when they already fit this width.
    bool FitPictures();
    // Puts a block at the top of the view.
    void ScrollTo(const QTextBlock& block);
    QTextBrowser* browser_;
    int fittedTo_ = 0;
};

// F1 anywhere in the application: the guide on the part of the window in front. Installed on the application
// by the main window.
class TGuideKey : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override;
};

// Opens the guide over a window on its part; the guide window, or null when the guide is missing (the user is
// told).
TGuideWindow* OpenGuide(QWidget* over);
