#include "app/GuideWindow.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QKeyEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextBrowser>
#include <QUrl>
#include <QVBoxLayout>

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
        browser_->document()->adjustSize();
        const int top = static_cast<int>(browser_->document()->documentLayout()->blockBoundingRect(block).top());
        browser_->verticalScrollBar()->setValue(top);
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
