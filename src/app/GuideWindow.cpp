#include "app/GuideWindow.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QKeyEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextFragment>
#include <QTextImageFormat>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>
#include <algorithm>

#include "host/Dialogs.h"
#include "host/WindowPlace.h"

QString GuidePath()
{
    const QString named = qEnvironmentVariable("OZN3_GUIDE");
    if (!named.isEmpty())
        return named;
    const QString binary = QFileInfo(QStringLiteral("/proc/self/exe")).canonicalFilePath();
    const QString installed =
        QDir(QFileInfo(binary).absolutePath()).absoluteFilePath(QStringLiteral("../share/ozn3/guide.md"));
    if (QFileInfo::exists(installed))
        return installed;
    return QStringLiteral(OZN3_SOURCE_DOCS "/guide.md");
}

int GuidePartOf(const QString& windowName)
{
    // The parts of the guide: 1 the network, 2 a line's samples, 3 workbooks and schemes, 4 the normative
    // method, 5 the regime, 6 results, 8 conductors.
    static const std::pair<const char*, int> parts[] = {
        {"MainWindow", 1},      {"LVFidersForm", 2},     {"CalendarDialog", 2},   {"xlsLVZamer", 3},
        {"SchemeEditor", 3},    {"LVNormativMethod", 4}, {"KrazvRef", 4},         {"frmCalcParams", 5},
        {"WaAddPanelForm", 5},  {"frmPesResultsLV", 6},  {"frmLVResultsGrid", 6}, {"LVResultBalancesFider", 6},
        {"frmLVduCalcMenu", 6}, {"frmLVUndersupply", 6}, {"ComparisonTable", 6},  {"ConductorDialog", 8}};
    for (const auto& [prefix, part] : parts)
        if (windowName.startsWith(QLatin1String(prefix)))
            return part;
    return 0;
}

TGuideWindow::TGuideWindow(QWidget* over) : QDialog(over, Qt::Window)
{
    setObjectName(QStringLiteral("GuideWindow"));
    setWindowTitle(QStringLiteral("Руководство пользователя — ОЗН 3"));
    setAttribute(Qt::WA_DeleteOnClose);
    KeepWindowPlace(*this, QStringLiteral("GuideWindow"), QSize(900, 680));
    auto* layout = new QVBoxLayout(this);
    browser_ = new QTextBrowser(this);
    browser_->setObjectName(QStringLiteral("GuideText"));
    browser_->setOpenExternalLinks(true);
    layout->addWidget(browser_);
}

bool TGuideWindow::Load(const QString& file)
{
    if (!QFileInfo::exists(file)) {
        browser_->setPlainText(QStringLiteral("Руководство пользователя не найдено: %1").arg(file));
        return false;
    }
    // Pictures are found beside the guide (img/…).
    browser_->setSource(QUrl::fromLocalFile(QFileInfo(file).absoluteFilePath()), QTextDocument::MarkdownResource);
    layout()->activate();  // the text's width is known before the window is shown
    FitPictures();
    return true;
}

void TGuideWindow::resizeEvent(QResizeEvent* event)
{
    // The text at the top stays at the top while the pictures change their size.
    const QTextBlock top = browser_->cursorForPosition(QPoint(0, 0)).block();
    const bool scrolled = browser_->verticalScrollBar()->value() > 0;
    QDialog::resizeEvent(event);
    if (FitPictures() && scrolled && top.isValid())
        ScrollTo(top);
}

void TGuideWindow::ScrollTo(const QTextBlock& block)
{
    // The layout runs on in the background: the block's place and the scroll bar's range are final only once it
    // has run, so the place is asked for again when the events of the change are done.
    const int position = block.position();
    auto scroll = [this, position] {
        QAbstractTextDocumentLayout* layout = browser_->document()->documentLayout();
        layout->documentSize();
        const QTextBlock at = browser_->document()->findBlock(position);
        browser_->verticalScrollBar()->setValue(static_cast<int>(layout->blockBoundingRect(at).top()));
    };
    scroll();
    QTimer::singleShot(0, this, scroll);
}

bool TGuideWindow::FitPictures()
{
    QTextDocument* document = browser_->document();
    const int room = std::max(200, browser_->viewport()->width() - 2 * static_cast<int>(document->documentMargin()));
    if (room == fittedTo_)
        return false;
    fittedTo_ = room;
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            QTextImageFormat image = fragment.charFormat().toImageFormat();
            if (!image.isValid())
                continue;
            const QImage picture = document->resource(QTextDocument::ImageResource, QUrl(image.name())).value<QImage>();
            if (picture.isNull())
                continue;
            const int width = std::min(picture.width(), room);
            if (qRound(image.width()) == width)
                continue;
            image.setWidth(width);
            image.setHeight(static_cast<double>(picture.height()) * width / picture.width());
            QTextCursor cursor(document);
            cursor.setPosition(fragment.position());
            cursor.setPosition(fragment.position() + fragment.length(), QTextCursor::KeepAnchor);
            cursor.setCharFormat(image);
        }
    }
    return true;
}

bool TGuideWindow::ShowPart(int part)
{
    if (part <= 0) {
        browser_->verticalScrollBar()->setValue(0);
        return true;
    }
    const QString number = QString::number(part) + QLatin1Char('.');
    for (QTextBlock block = browser_->document()->begin(); block.isValid(); block = block.next()) {
        if (block.blockFormat().headingLevel() != 2 || !block.text().startsWith(number))
            continue;
        // The heading at the top of the view.
        browser_->setTextCursor(QTextCursor(block));
        ScrollTo(block);
        return true;
    }
    return false;
}

TGuideWindow* OpenGuide(QWidget* over)
{
    const QString name = over ? over->objectName() : QString();
    auto* guide = new TGuideWindow(over);
    if (!guide->Load(GuidePath())) {
        host::ShowWarning(QStringLiteral("Руководство пользователя не найдено: %1").arg(GuidePath()));
        delete guide;
        return nullptr;
    }
    guide->show();
    guide->ShowPart(GuidePartOf(name));
    return guide;
}

bool TGuideKey::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_F1 &&
        static_cast<QKeyEvent*>(event)->modifiers() == Qt::NoModifier) {
        // The window in front: the active modal form over the main window, else the window of the key.
        QWidget* front = QApplication::activeModalWidget();
        if (!front && watched->isWidgetType())
            front = static_cast<QWidget*>(watched)->window();
        if (!front)
            front = QApplication::activeWindow();
        if (front && front->objectName() == QLatin1String("GuideWindow"))
            return true;
        OpenGuide(front);
        return true;
    }
    return QObject::eventFilter(watched, event);
}
