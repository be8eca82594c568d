#include "host/SamplesTreeBox.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QStandardItemModel>
#include <QTreeView>
#include <QWheelEvent>
#include <algorithm>

namespace {
constexpr int kIdentRole = Qt::UserRole + 1;
constexpr int kYear = 1;

bool inside(const TSamplePeriodInfo& inner, const TSamplePeriodInfo& outer)
{
    return inner.SampleDate1 >= outer.SampleDate1 && inner.SampleDate2 <= outer.SampleDate2;
}
}  // namespace

TSamplesTreeBox::TSamplesTreeBox(QWidget* parent)
    : QComboBox(parent), model_(new QStandardItemModel(this)), view_(new QTreeView(this))
{
    view_->header()->hide();
    // The tree is always open: months stand indented under their years, with no arrow to click by mistake.
    view_->setRootIsDecorated(false);
    view_->setItemsExpandable(false);
    setModel(model_);
    setView(view_);
    // The popup chooses any item of the tree, a month under its year too; the box keeps the item itself.
    connect(this, &QComboBox::currentIndexChanged, this, [this] {
        const int ident = currentData(kIdentRole).toInt();
        if (ident != 0 && ident != current_) {
            current_ = ident;
            emit CurrentIdentChanged(ident);
        }
    });
    setSizeAdjustPolicy(QComboBox::AdjustToContents);
    setMinimumWidth(180);
}

void TSamplesTreeBox::Fill(const std::vector<TSamplePeriodInfo>& periods)
{
    const int keep = current_;
    model_->clear();
    std::vector<TSamplePeriodInfo> sorted = periods;
    std::stable_sort(sorted.begin(), sorted.end(), [](const TSamplePeriodInfo& a, const TSamplePeriodInfo& b) {
        return a.SampleDate1 < b.SampleDate1 || (a.SampleDate1 == b.SampleDate1 && a.SampleDate2 > b.SampleDate2);
    });
    auto row = [](const TSamplePeriodInfo& p) {
        auto* item = new QStandardItem(p.Name);
        item->setData(p.Ident, kIdentRole);
        item->setEditable(false);
        return item;
    };
    std::vector<std::pair<TSamplePeriodInfo, QStandardItem*>> years;
    for (const TSamplePeriodInfo& p : sorted)
        if (p.Period == kYear) {
            QStandardItem* item = row(p);
            model_->appendRow(item);
            years.emplace_back(p, item);
        }
    for (const TSamplePeriodInfo& p : sorted) {
        if (p.Period == kYear)
            continue;
        auto year = std::find_if(years.begin(), years.end(), [&](const auto& y) { return inside(p, y.first); });
        if (year != years.end())
            year->second->appendRow(row(p));
        else
            model_->appendRow(row(p));
    }
    // Intervals outside every year are placed among the years by their start.
    model_->setSortRole(kIdentRole + 1);
    for (int r = 0; r < model_->rowCount(); ++r) {
        const int ident = model_->item(r)->data(kIdentRole).toInt();
        const auto p = std::find_if(sorted.begin(), sorted.end(), [&](const auto& x) { return x.Ident == ident; });
        model_->item(r)->setData(static_cast<qlonglong>(std::distance(sorted.begin(), p)), kIdentRole + 1);
    }
    model_->sort(0);
    current_ = 0;
    if (!SetCurrentIdent(keep))
        setCurrentIndex(-1);
}

QModelIndex TSamplesTreeBox::IndexOf(int ident) const
{
    const QModelIndexList found =
        model_->match(model_->index(0, 0), kIdentRole, ident, 1, Qt::MatchExactly | Qt::MatchRecursive);
    return found.isEmpty() ? QModelIndex() : found.first();
}

bool TSamplesTreeBox::SetCurrentIdent(int ident)
{
    const QModelIndex index = IndexOf(ident);
    if (ident == 0 || !index.isValid())
        return false;
    Choose(index);
    return true;
}

void TSamplesTreeBox::Choose(const QModelIndex& index)
{
    if (!index.isValid())
        return;
    // The box shows an item of the level its root points to: the month's year for a month.
    {
        const QSignalBlocker blocker(this);
        setRootModelIndex(index.parent());
        setCurrentIndex(index.row());
        setRootModelIndex(QModelIndex());
    }
    const int ident = index.data(kIdentRole).toInt();
    if (ident == current_)
        return;
    current_ = ident;
    emit CurrentIdentChanged(ident);
}

void TSamplesTreeBox::showPopup()
{
    view_->expandAll();
    QComboBox::showPopup();
    const QModelIndex index = IndexOf(current_);
    if (index.isValid())
        view_->setCurrentIndex(index);
}

QList<int> TSamplesTreeBox::Ordered() const
{
    QList<int> ordered;
    for (const auto& [top, under] : Shape())
        ordered << top << under;
    return ordered;
}

void TSamplesTreeBox::Step(int delta)
{
    const QList<int> ordered = Ordered();
    if (ordered.isEmpty())
        return;
    const int at = static_cast<int>(ordered.indexOf(current_));
    const int next = at < 0 ? 0 : std::clamp(at + delta, 0, static_cast<int>(ordered.size()) - 1);
    if (next != at)
        SetCurrentIdent(ordered[next]);
}

void TSamplesTreeBox::keyPressEvent(QKeyEvent* event)
{
    if (!(event->modifiers() & Qt::AltModifier)) {
        const int size = static_cast<int>(Ordered().size());
        switch (event->key()) {
        case Qt::Key_Up: Step(-1); return;
        case Qt::Key_Down: Step(1); return;
        case Qt::Key_PageUp:
        case Qt::Key_Home: Step(-size); return;
        case Qt::Key_PageDown:
        case Qt::Key_End: Step(size); return;
        default: break;
        }
    }
    QComboBox::keyPressEvent(event);
}

void TSamplesTreeBox::wheelEvent(QWheelEvent* event)
{
    const int dy = event->angleDelta().y();
    if (dy != 0)
        Step(dy > 0 ? -1 : 1);
    event->accept();
}

QList<QPair<int, QList<int>>> TSamplesTreeBox::Shape() const
{
    QList<QPair<int, QList<int>>> shape;
    for (int r = 0; r < model_->rowCount(); ++r) {
        QStandardItem* top = model_->item(r);
        QList<int> children;
        for (int c = 0; c < top->rowCount(); ++c)
            children << top->child(c)->data(kIdentRole).toInt();
        shape.append({top->data(kIdentRole).toInt(), children});
    }
    return shape;
}

int DefaultPeriod(const std::vector<TSamplePeriodInfo>& periods, const QList<int>& withData)
{
    const TSamplePeriodInfo* latestWithData = nullptr;
    const TSamplePeriodInfo* latestBegun = nullptr;
    const TSamplePeriodInfo* latest = nullptr;
    const QDateTime now = QDateTime::currentDateTime();
    auto later = [](const TSamplePeriodInfo* a, const TSamplePeriodInfo& b) {
        return !a || b.SampleDate1 > a->SampleDate1 ||
               (b.SampleDate1 == a->SampleDate1 && b.SampleDate2 > a->SampleDate2);
    };
    for (const TSamplePeriodInfo& p : periods) {
        if (withData.contains(p.Ident) && later(latestWithData, p))
            latestWithData = &p;
        if (p.SampleDate1 <= now && later(latestBegun, p))
            latestBegun = &p;
        if (later(latest, p))
            latest = &p;
    }
    const TSamplePeriodInfo* chosen = latestWithData ? latestWithData : latestBegun ? latestBegun : latest;
    return chosen ? chosen->Ident : 0;
}
