#include "host/WindowPlace.h"

#include <QEvent>
#include <QScreen>
#include <QSplitter>
#include <QStringList>
#include <QWidget>
#include <algorithm>

#include "host/InitOZN.h"

namespace {
const QString kSection = QStringLiteral("Windows");

QSize savedSize(const QString& name)
{
    const QStringList parts =
        Init(true)->LoadStrParam(kSection, name + QStringLiteral("_Size")).split(QLatin1Char('x'));
    if (parts.size() != 2)
        return {};
    bool w = false, h = false;
    const QSize size(parts[0].toInt(&w), parts[1].toInt(&h));
    return w && h && size.width() > 100 && size.height() > 100 ? size : QSize();
}

QString splitterKey(const QString& name, int index) { return name + QStringLiteral("_Splitter%1").arg(index); }

// Restores the place on the first showing, keeps it on every hiding.
class PlaceKeeper : public QObject {
public:
    PlaceKeeper(QWidget& window, const QString& name, QSize preferred)
        : QObject(&window), window_(window), name_(name), preferred_(preferred)
    {
        window.installEventFilter(this);
    }
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched != &window_)
            return false;
        if (event->type() == QEvent::Show && !restored_) {
            restored_ = true;
            Restore();
        } else if (event->type() == QEvent::Hide && restored_) {
            Keep();
        }
        return false;
    }

private:
    QList<QSplitter*> Splitters() const { return window_.findChildren<QSplitter*>(); }
    void Restore()
    {
        const QSize saved = savedSize(name_);
        const QScreen* screen = window_.screen();
        const QSize available = screen ? screen->availableGeometry().size() : QSize();
        window_.resize(FittedSize(saved.isValid() ? saved : preferred_, available));
        const QList<QSplitter*> splitters = Splitters();
        for (int i = 0; i < splitters.size(); ++i) {
            const QByteArray state = Init(true)->LoadBinaryParam(kSection, splitterKey(name_, i));
            if (!state.isEmpty())
                splitters[i]->restoreState(state);
        }
    }
    void Keep()
    {
        const QSize size = window_.size();
        Init(true)->SaveStrParam(kSection, name_ + QStringLiteral("_Size"),
                                 QStringLiteral("%1x%2").arg(size.width()).arg(size.height()));
        const QList<QSplitter*> splitters = Splitters();
        for (int i = 0; i < splitters.size(); ++i)
            Init(true)->SaveBinaryParam(kSection, splitterKey(name_, i), splitters[i]->saveState());
    }
    QWidget& window_;
    QString name_;
    QSize preferred_;
    bool restored_ = false;
};
}  // namespace

QSize FittedSize(QSize wanted, QSize available)
{
    if (!available.isValid() || available.isEmpty())
        return wanted;
    // A little room for the window's frame.
    const QSize room(std::max(available.width() - 16, 320), std::max(available.height() - 40, 240));
    return wanted.boundedTo(room);
}

void KeepWindowPlace(QWidget& window, const QString& name, QSize preferred)
{
    window.resize(preferred);
    new PlaceKeeper(window, name, preferred);
}

QString WrappedCaption(const QString& caption, int lineLength)
{
    QStringList lines;
    for (const QString& part : caption.split(QLatin1Char('|'))) {
        QString line;
        for (const QString& word : part.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
            if (!line.isEmpty() && line.size() + 1 + word.size() > lineLength) {
                lines << line;
                line.clear();
            }
            line += (line.isEmpty() ? QString() : QStringLiteral(" ")) + word;
        }
        lines << line;
    }
    return lines.join(QLatin1Char('\n'));
}
