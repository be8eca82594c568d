#include "host/TreeSearch.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMainWindow>
#include <QShortcut>
#include <QSplitter>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

#include "host/Tree.h"
#include "host/TreeModel.h"

namespace host {

namespace {
int chosenElement = 0;
const char* const kSearchProperty = "ozn3TreeSearch";

TreeModel* modelOf(const QTreeView* view) { return view ? dynamic_cast<TreeModel*>(view->model()) : nullptr; }

// Every item in the tree's order, links aside (they repeat an item shown elsewhere).
void collect(ToznListItemCommon* item, const QString& text, QList<ToznListItemCommon*>& found)
{
    if (item->isLink())
        return;
    if (item->GetText().contains(text, Qt::CaseInsensitive))
        found << item;
    for (int i = 0; i < item->GetCount(); ++i)
        collect(item->GetItems(i), text, found);
}

// Text a user types into a tree to look for a name: letters, digits, signs; not keys that move or open.
bool isTypedText(const QKeyEvent* key)
{
    if (key->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))
        return false;
    const QString text = key->text();
    return !text.isEmpty() && text.at(0).isPrint() && !text.at(0).isSpace();
}
}  // namespace

void SetChosenElement(int guid) { chosenElement = guid; }
int ChosenElement() { return chosenElement; }

bool ShowInTree(QTreeView* view, int guid)
{
    TreeModel* model = modelOf(view);
    if (!model || !model->Tree())
        return false;
    ToznListItemCommon* item = model->Tree()->Find(guid);
    if (!item)
        return false;
    const QModelIndex index = model->IndexOf(item);
    for (QModelIndex up = index.parent(); up.isValid(); up = up.parent())
        view->expand(up);
    view->setCurrentIndex(index);
    view->scrollTo(index, QAbstractItemView::PositionAtCenter);
    return true;
}

int OpenOnChosen(QTreeView* view)
{
    view->header()->setSectionResizeMode(0, QHeaderView::ResizeToContents);
    view->header()->setStretchLastSection(false);
    view->setTextElideMode(Qt::ElideMiddle);
    TTreeSearch::Attach(view);
    return ShowInTree(view, chosenElement) ? chosenElement : 0;
}

TTreeSearch* TTreeSearch::Of(const QTreeView* view)
{
    // The bar lives in the same container as the view, so the two go together.
    return view ? qobject_cast<TTreeSearch*>(view->property(kSearchProperty).value<QObject*>()) : nullptr;
}

TTreeSearch* TTreeSearch::Attach(QTreeView* view)
{
    if (TTreeSearch* existing = Of(view))
        return existing;
    // The bar and the view go into one container that takes the view's place.
    QWidget* parent = view->parentWidget();
    auto* container = new QWidget;
    container->setObjectName(view->objectName() + QStringLiteral("Box"));
    if (auto* splitter = qobject_cast<QSplitter*>(parent)) {
        const int at = splitter->indexOf(view);
        const QList<int> sizes = splitter->sizes();
        splitter->insertWidget(at, container);
        splitter->setSizes(sizes);
    } else if (auto* window = qobject_cast<QMainWindow*>(parent); window && window->centralWidget() == view) {
        window->takeCentralWidget();
        window->setCentralWidget(container);
    } else if (parent && parent->layout()) {
        delete parent->layout()->replaceWidget(view, container);
    } else if (parent) {
        container->setParent(parent);
    }
    auto* layout = new QVBoxLayout(container);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    auto* search = new TTreeSearch(view, container);
    layout->addWidget(search);
    layout->addWidget(view);
    search->hide();
    return search;
}

TTreeSearch::TTreeSearch(QTreeView* view, QWidget* container) : QWidget(container), view_(view), container_(container)
{
    setObjectName(QStringLiteral("TreeSearch"));
    view->setProperty(kSearchProperty, QVariant::fromValue(static_cast<QObject*>(this)));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 2, 2, 2);
    edit_ = new QLineEdit(this);
    edit_->setObjectName(QStringLiteral("EditTreeSearch"));
    edit_->setPlaceholderText(QStringLiteral("Найти: часть имени ТП или линии"));
    edit_->setClearButtonEnabled(true);
    count_ = new QLabel(this);
    count_->setObjectName(QStringLiteral("lblTreeSearchCount"));
    auto button = [this, layout](const QString& text, const QString& tip, auto slot) {
        auto* b = new QToolButton(this);
        b->setText(text);
        b->setToolTip(tip);
        b->setAutoRaise(true);
        connect(b, &QToolButton::clicked, this, slot);
        return b;
    };
    layout->addWidget(edit_, 1);
    layout->addWidget(count_);
    layout->addWidget(button(QStringLiteral("▲"), QStringLiteral("Предыдущее (Shift+F3)"), [this] { Previous(); }));
    layout->addWidget(button(QStringLiteral("▼"), QStringLiteral("Следующее (Enter, F3)"), [this] { Next(); }));
    layout->addWidget(button(QStringLiteral("✕"), QStringLiteral("Закрыть поиск (Esc)"), [this] { Close(); }));
    connect(edit_, &QLineEdit::textEdited, this, [this](const QString& text) { Find(text); });
    connect(edit_, &QLineEdit::returnPressed, this,
            [this] { (QApplication::keyboardModifiers() & Qt::ShiftModifier) ? Previous() : Next(); });
    edit_->installEventFilter(this);
    view_->installEventFilter(this);
    auto* open = new QShortcut(QKeySequence::Find, container_, nullptr, nullptr, Qt::WindowShortcut);
    connect(open, &QShortcut::activated, this, [this] { Open(); });
    auto* next = new QShortcut(QKeySequence::FindNext, container_, nullptr, nullptr, Qt::WindowShortcut);
    connect(next, &QShortcut::activated, this, [this] { Next(); });
    auto* previous = new QShortcut(QKeySequence::FindPrevious, container_, nullptr, nullptr, Qt::WindowShortcut);
    connect(previous, &QShortcut::activated, this, [this] { Previous(); });
}

void TTreeSearch::Open(const QString& text)
{
    show();
    if (!text.isEmpty()) {
        edit_->setText(edit_->text() + text);
        Find(edit_->text());
    } else {
        edit_->selectAll();
    }
    edit_->setFocus();
}

void TTreeSearch::Close()
{
    hide();
    view_->setFocus();
}

int TTreeSearch::Find(const QString& text)
{
    matches_.clear();
    position_ = -1;
    TreeModel* model = modelOf(view_);
    const QString wanted = text.trimmed();
    if (model && model->Tree() && !wanted.isEmpty()) {
        TfdbTree* tree = model->Tree();
        for (int i = 0; i < tree->GetCount(); ++i)
            collect(tree->GetItems(i), wanted, matches_);
    }
    if (!matches_.isEmpty())
        Go(0);
    ShowCount();
    return Matches();
}

void TTreeSearch::Next()
{
    if (matches_.isEmpty()) {
        Find(edit_->text());
        return;
    }
    Go((position_ + 1) % Matches());
}

void TTreeSearch::Previous()
{
    if (matches_.isEmpty()) {
        Find(edit_->text());
        return;
    }
    Go((position_ - 1 + Matches()) % Matches());
}

void TTreeSearch::Go(int position)
{
    position_ = position;
    ToznListItemCommon* item = matches_[position];
    ShowInTree(view_, item->GetIdent());
    ShowCount();
    emit Found(item);
}

void TTreeSearch::ShowCount()
{
    const bool none = matches_.isEmpty() && !edit_->text().trimmed().isEmpty();
    count_->setText(none                 ? QStringLiteral("не найдено")
                    : matches_.isEmpty() ? QString()
                                         : QStringLiteral("%1 из %2").arg(position_ + 1).arg(Matches()));
    edit_->setStyleSheet(none ? QStringLiteral("QLineEdit { background: #FFE0E0; }") : QString());
}

bool TTreeSearch::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::KeyPress)
        return QWidget::eventFilter(watched, event);
    auto* key = static_cast<QKeyEvent*>(event);
    if (watched == view_ && isTypedText(key)) {
        // Typing in the tree looks for the name in the whole tree, not only among the items open.
        if (isHidden())
            edit_->clear();
        Open(key->text());
        return true;
    }
    if (watched == edit_ && key->key() == Qt::Key_Escape) {
        Close();
        return true;
    }
    if (watched == edit_ && (key->key() == Qt::Key_Down || key->key() == Qt::Key_Up)) {
        key->key() == Qt::Key_Down ? Next() : Previous();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

}  // namespace host
