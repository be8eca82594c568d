#include "app/MainWindow.h"

#include <QComboBox>
#include <QDockWidget>
#include <QFileInfo>
#include <QItemSelectionModel>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QRegularExpression>
#include <QResizeEvent>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QTreeView>
#include <algorithm>
#include <cstdlib>

#include "app/ConductorDialog.h"
#include "app/ProblemsDialog.h"
#include "app/RegimeCommand.h"
#include "app/RightsDialog.h"
#include "app/SchemeEditor.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/ExportTable.h"
#include "host/FiderHHCalcParams.h"
#include "host/HostCommands.h"
#include "host/HostObjects.h"
#include "host/InitOZN.h"
#include "host/SamplePeriods.h"
#include "host/SamplesTreeBox.h"
#include "host/Tree.h"
#include "host/TreeModel.h"
#include "host/TreeSearch.h"
#include "host/WindowPlace.h"
#include "host/WindowService.h"
#include "host/fider/RegimeBatch.h"
#include "host/profiles/MethodComparison.h"
#include "host/profiles/ProfileStore.h"
#include "host/scheme/SchemeBookFile.h"
#include "host/scheme/SchemeStore.h"

namespace {
const char* const kBookFilter = "Книга Excel|*.xlsx";

QString Quoted(const QStringList& names)
{
    return QStringLiteral("«") + names.join(QStringLiteral("», «")) + QStringLiteral("»");
}

// A file name from the name of a network element.
QString FileNameOf(const QString& name)
{
    QString file = name.simplified();
    file.replace(QRegularExpression(QStringLiteral(R"([\\/:*?"<>|])")), QStringLiteral("_"));
    return file.isEmpty() ? QStringLiteral("Схема 0,4 кВ.xlsx") : file + QStringLiteral(".xlsx");
}
}  // namespace

MainWindow::MainWindow(TfdbDatabase* database, Ozn32Plugin* plugin) : database_(database), plugin_(plugin)
{
    // The plug-in's calculation menu starts the regime calculation as the tree's menu does.
    host::SetRegimeCommand([this](int guid, bool maximum) {
        if (ToznListItemCommon* item = database_->GetTree()->Find(guid))
            RunRegime(maximum, item);
    });
    setObjectName(QStringLiteral("MainWindow"));
    setWindowTitle(QStringLiteral("ОЗН 3 — %1").arg(database->ConnectionString()));
    KeepWindowPlace(*this, QStringLiteral("MainWindow"), QSize(1280, 800));
    tree_ = new QTreeView(this);
    tree_->setObjectName(QStringLiteral("NetworkTree"));
    tree_->setModel(new TreeModel(database->GetTree(), tree_));
    tree_->expandToDepth(1);
    tree_->setContextMenuPolicy(Qt::CustomContextMenu);
    tree_->setExpandsOnDoubleClick(false);
    connect(tree_, &QTreeView::customContextMenuRequested, this, &MainWindow::ShowTreeMenu);
    setCentralWidget(tree_);
    host::TTreeSearch::Attach(tree_);
    ChooseBookFile = [](bool save, const QString& suggested) {
        const QString filter = QString::fromUtf8(kBookFilter);
        return save ? host::dialogs().SaveFileName(QStringLiteral("Выгрузка схемы 0,4 кВ в книгу"), filter,
                                                   QStringLiteral("xlsx"), suggested)
                    : host::dialogs().OpenFileName(QStringLiteral("Загрузка схемы 0,4 кВ из книги"), filter);
    };

    ChooseDatabaseFile = [] {
        return host::dialogs().OpenFileName(QStringLiteral("Открыть базу данных"),
                                            QStringLiteral("Базы данных Firebird|*.fdb *.FDB|Все файлы|*"));
    };
    ChooseProfileFile = [] {
        return host::dialogs().OpenFileName(QStringLiteral("Загрузка графиков нагрузки"),
                                            QStringLiteral("Графики нагрузки|*.csv *.txt *.xlsx|Все файлы|*"));
    };

    auto* toolbar = addToolBar(QStringLiteral("Период"));
    toolbar->addWidget(new QLabel(QStringLiteral(" Расчетный период: "), toolbar));
    periods_ = new TSamplesTreeBox(toolbar);
    periods_->setObjectName(QStringLiteral("ComboSamplesDates"));
    periods_->setMinimumWidth(200);
    // The regimes are calculated for a year: the latest year that has begun.
    const std::vector<TSamplePeriodInfo>& all = database->GetSamplePeriods()->Items();
    std::vector<TSamplePeriodInfo> years;
    std::copy_if(all.begin(), all.end(), std::back_inserter(years), [](const auto& p) { return p.Period == 1; });
    periods_->Fill(all);
    periods_->SetCurrentIdent(DefaultPeriod(years.empty() ? all : years, {}));
    toolbar->addWidget(periods_);
    // The plug-in's forms start on the interval chosen here (a new sample of the feeder editor falls in it).
    host::SetChosenPeriod(periods_->CurrentIdent());
    connect(periods_, &TSamplesTreeBox::CurrentIdentChanged, this, [](int ident) { host::SetChosenPeriod(ident); });

    // The scheme panel is there from the start and follows the tree: the LV feeder chosen, or the one above the
    // item chosen, a moment after the choice settles (arrowing through the tree builds no frame per step).
    detail_ = new QDockWidget(QStringLiteral("Схема 0,38 кВ"), this);
    detail_->setObjectName(QStringLiteral("DetailDock"));
    addDockWidget(Qt::RightDockWidgetArea, detail_);
    ShowDetailHint();
    follow_ = new QTimer(this);
    follow_->setSingleShot(true);
    follow_->setInterval(250);
    connect(follow_, &QTimer::timeout, this, &MainWindow::FollowTree);
    connect(tree_->selectionModel(), &QItemSelectionModel::currentChanged, this, [this] {
        ToznListItemCommon* item = SelectedItem();
        host::SetChosenElement(item ? item->GetIdent() : 0);
        if (item)
            Init(true)->SaveIntParam(QStringLiteral("MainWindow"), QStringLiteral("Chosen"), item->GetIdent());
        follow_->start();
    });

    BuildMenu();
    connect(tree_, &QTreeView::doubleClicked, this, &MainWindow::OnDoubleClick);
    // The window opens where the user left it: the element chosen last, with its scheme.
    if (host::ShowInTree(tree_, Init(true)->LoadIntParam(QStringLiteral("MainWindow"), QStringLiteral("Chosen"))))
        FollowTree();
    UpdateStatus();
    host::windows().SetMainWindow(this);
}

MainWindow::~MainWindow()
{
    host::SetRegimeCommand({});
    host::SetChosenPeriod(0);
}

void MainWindow::OnDoubleClick(const QModelIndex& index)
{
    ToznListItemCommon* item = SelectedItem();
    if (!item || (item->GetNodeType() != NodeType::Nodes && item->GetNodeType() != NodeType::LVFiders)) {
        tree_->setExpanded(index, !tree_->isExpanded(index));
        return;
    }
    int32_t lv = item->GetNodeType() == NodeType::LVFiders ? item->GetIdent() : 0;
    plugin_->ShowLVFiders(lv ? 0 : item->GetIdent(), &lv);
}

void MainWindow::ShowDetailHint()
{
    auto* hint = new QLabel(QStringLiteral("Выберите линию 0,4 кВ в дереве сети: здесь будут ее схема с "
                                           "результатами расчета, узлы и участки."),
                            detail_);
    hint->setObjectName(QStringLiteral("DetailHint"));
    hint->setWordWrap(true);
    hint->setAlignment(Qt::AlignCenter);
    hint->setMargin(24);
    QWidget* old = detail_->widget();
    detail_->setWidget(hint);
    delete old;
    detail_->setWindowTitle(QStringLiteral("Схема 0,38 кВ"));
    shownFeeder_ = 0;
}

QWidget* MainWindow::DetailFrame() const
{
    QWidget* w = detail_->widget();
    return w && w->objectName() != QLatin1String("DetailHint") ? w : nullptr;
}

void MainWindow::FollowTree()
{
    follow_->stop();
    ToznListItemCommon* lv = SelectedOfType(NodeType::LVFiders);
    if (lv && lv->GetIdent() != shownFeeder_)
        ShowDetailOf(lv, 0);
}

ToznListItemCommon* MainWindow::SelectedItem() const
{
    ToznListItemCommon* item = TreeModel::Item(tree_->currentIndex());
    return item ? item->Target() : nullptr;
}

ToznListItemCommon* MainWindow::OfType(ToznListItemCommon* item, int nodeType)
{
    for (; item; item = item->Parent())
        if (item->GetNodeType() == nodeType && !item->isLink())
            return item;
    return nullptr;
}

ToznListItemCommon* MainWindow::SelectedOfType(int nodeType) const { return OfType(SelectedItem(), nodeType); }

int MainWindow::SelectedPeriod() const { return periods_->CurrentIdent(); }

void MainWindow::BuildMenu()
{
    // Every menu opens with Alt and its underlined letter; the everyday commands have keys of their own.
    QMenu* file = menuBar()->addMenu(QStringLiteral("&Файл"));
    BuildFileMenu(file);
    QAction* quit = file->addAction(QStringLiteral("&Выход"), this, &QWidget::close);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    QMenu* menu = menuBar()->addMenu(QStringLiteral("&Сеть 0,4 кВ"));
    auto key = [](QAction* action, QKeySequence sequence) { action->setShortcut(sequence); };
    auto guid = [this] { return SelectedItem() ? SelectedItem()->GetIdent() : 0; };
    QAction* lines = menu->addAction(QStringLiteral("&Линии 0,38 кВ ТП..."), this, [this] {
        ToznListItemCommon* lv = SelectedOfType(NodeType::LVFiders);
        ToznListItemCommon* node = SelectedOfType(NodeType::Nodes);
        int32_t lvGuid = lv ? lv->GetIdent() : 0;
        plugin_->ShowLVFiders(lv ? 0 : (node ? node->GetIdent() : 0), &lvGuid);
    });
    key(lines, QKeySequence(Qt::CTRL | Qt::Key_L));
    menu->addAction(QStringLiteral("С&хема 0,38 кВ линии"), this, &MainWindow::ShowDetail);
    menu->addAction(QStringLiteral("Найти в дереве…\tCtrl+F"), this, [this] { host::TTreeSearch::Of(tree_)->Open(); });
    menu->addSeparator();
    importScheme_ =
        menu->addAction(QStringLiteral("Загрузить схему 0,4 кВ из книги…"), this, &MainWindow::ImportScheme);
    exportScheme_ = menu->addAction(QStringLiteral("Выгрузить схему 0,4 кВ в книгу…"), this, &MainWindow::ExportScheme);
    importProfiles_ = menu->addAction(QStringLiteral("Загрузить графики нагрузки…"), this, &MainWindow::ImportProfiles);
    importProfiles_->setObjectName(QStringLiteral("actImportProfiles"));
    editScheme_ = menu->addAction(QStringLiteral("Схема линии 0,4 кВ"), this, &MainWindow::EditScheme);
    key(editScheme_, QKeySequence(Qt::CTRL | Qt::Key_E));
    menu->addSeparator();
    key(menu->addAction(QStringLiteral("&Расчет режима средних нагрузок..."), this, [this] { RunRegime(false); }),
        QKeySequence(Qt::Key_F5));
    key(menu->addAction(QStringLiteral("Расчет режима &максимальных нагрузок..."), this, [this] { RunRegime(true); }),
        QKeySequence(Qt::SHIFT | Qt::Key_F5));
    key(menu->addAction(QStringLiteral("&Баланс линии..."), this, [this] { ShowBalance(false); }),
        QKeySequence(Qt::CTRL | Qt::Key_B));
    menu->addAction(QStringLiteral("Баланс линии в таблицу экспорта"), this, [this] { ShowBalance(true); });
    menu->addSeparator();
    key(menu->addAction(QStringLiteral("&Нормативный метод..."), this,
                        [this] { plugin_->RunLVNormativMethod(database_); }),
        QKeySequence(Qt::CTRL | Qt::Key_N));
    menu->addAction(QStringLiteral("Нормативный метод: результаты..."), this,
                    [this] { plugin_->RunLVNormativMethodResults(database_); });
    menu->addSeparator();
    menu->addAction(QStringLiteral("Результаты по электрическим сетям..."), this,
                    [this, guid] { plugin_->ShowLVPESResults(database_, guid()); });
    key(menu->addAction(QStringLiteral("&Таблица результатов 0,4 кВ..."), this,
                        [this, guid] { plugin_->ShowLVResultsGrid(database_, guid()); }),
        QKeySequence(Qt::CTRL | Qt::Key_R));
    key(menu->addAction(QStringLiteral("Расчеты сет&и 0,4 кВ..."), this, [this] { plugin_->ShowLVPESResultsAll(); }),
        QKeySequence(Qt::CTRL | Qt::Key_M));
    menu->addAction(QStringLiteral("Недоотпуск по линиям 0,4 кВ..."), this,
                    [this, guid] { plugin_->ShowLVUndersupplyReport(guid()); });
    menu->addSeparator();
    // The workbook forms open on the object chosen in the tree.
    menu->addAction(QStringLiteral("Замеры &W (книга Excel)..."), this,
                    [this, guid] { plugin_->ShowSamplesWInput(u"", guid()); });
    menu->addAction(QStringLiteral("Замеры T&max (книга Excel)..."), this,
                    [this, guid] { plugin_->ShowSamplesTmaxInput(u"", guid()); });
    menu->addAction(QStringLiteral("&Обобщенные данные нормативного метода (книга Excel)..."), this,
                    [this, guid] { plugin_->ShowLVNormativMethodInput(u"", guid()); });
    QMenu* references = menuBar()->addMenu(QStringLiteral("Спр&авочники"));
    references->addAction(QStringLiteral("&Провода…"), this, &MainWindow::EditConductors);
    references->addAction(QStringLiteral("По&льзователи и права…"), this, [this] {
        RightsDialog dialog(*database_->GetDefaultConnection(), this);
        dialog.exec();
    });
    BuildHelpMenu();
}

void MainWindow::ShowDetail()
{
    ToznListItemCommon* lv = SelectedOfType(NodeType::LVFiders);
    if (!lv) {
        host::ShowWarning(QStringLiteral("Выберите линию 0,4 кВ в дереве сети"));
        return;
    }
    ShowDetailOf(lv, 0);
}

void MainWindow::ShowDetailOf(ToznListItemCommon* lv, int runIdent)
{
    // The frame shown goes first and keeps its settings (preset, columns, colouring) for the next one to take.
    ShowDetailHint();
    // The frame is created on the dock and owned by it.
    QWidget* frame = plugin_->DetailFrameCreate(detail_, lv, runIdent);
    if (!frame)
        return;
    QWidget* hint = detail_->widget();
    detail_->setWidget(frame);
    delete hint;
    shownFeeder_ = lv->GetIdent();
    const QString substation = lv->Parent() ? lv->Parent()->GetText() + QStringLiteral(", ") : QString();
    detail_->setWindowTitle(QStringLiteral("Схема 0,38 кВ: %1%2").arg(substation, lv->GetText()));
}

void MainWindow::resizeEvent(QResizeEvent* event)
{
    QMainWindow::resizeEvent(event);
    const int before = event->oldSize().width();
    if (!detail_->isVisible() || detail_->isFloating())
        return;
    if (before <= 0 || !detailPlaced_) {
        // Until the window has been laid out once, the scheme simply takes its share.
        PlaceDetail();
        return;
    }
    // A width the dock did not get from here was drawn by the user: that share is kept from now on. The
    // layout may round the placed width by a pixel or two.
    if (std::abs(detail_->width() - placedDetailWidth_) > 2)
        detailShare_ = static_cast<double>(detail_->width()) / before;
    PlaceDetail();
}

void MainWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    // Its share of the width once the window is laid out; from then on a width it did not get from here is the
    // user's.
    if (!detailPlaced_)
        QTimer::singleShot(0, this, [this] {
            PlaceDetail();
            detailPlaced_ = true;
        });
}

void MainWindow::PlaceDetail()
{
    placedDetailWidth_ = qRound(detailShare_ * width());
    resizeDocks({detail_}, {placedDetailWidth_}, Qt::Horizontal);
}

void MainWindow::RunRegime(bool maximum, ToznListItemCommon* target)
{
    ToznListItemCommon* item = target ? target : SelectedItem();
    if (!item || item->GetNodeType() < NodeType::AOEnergo) {
        host::ShowWarning(QStringLiteral("Выберите в дереве сети линию 0,4 кВ или элемент сети выше неё"));
        return;
    }
    // One LV feeder, or every LV feeder under the chosen element.
    ToznListItemCommon* lv = OfType(item, NodeType::LVFiders);
    std::unique_ptr<TFiderHHCalcParams> params;
    if (maximum)
        params = std::make_unique<TWCalcTmaxHHParams>();
    else
        params = std::make_unique<TWCalcHHParams>();
    params->SetFiderGUID(lv ? lv->GetIdent() : 0);
    params->SetSamplePeriod(SelectedPeriod());
    const int answer = maximum ? plugin_->GetLVMaxRegim(static_cast<TWCalcTmaxHHParams*>(params.get()))
                               : plugin_->GetLVMiddleRegim(static_cast<TWCalcHHParams*>(params.get()));
    if (answer != 1)
        return;
    const fider::TRegimeKind regime = maximum ? fider::TRegimeKind::Maximum : fider::TRegimeKind::Middle;
    const QList<int> fiders =
        lv ? QList<int>{lv->GetIdent()} : fider::LVFidersUnder(*database_->GetTree(), item->GetIdent());
    if (fiders.isEmpty()) {
        host::ShowWarning(QStringLiteral("Под выбранным элементом сети нет линий 0,4 кВ"));
        return;
    }
    const RegimeOutcome outcome =
        RunRegimeCommand(*database_, fiders, RequestFromParams(*params, regime, lv != nullptr));
    if (!lv) {
        (outcome.Refused || !outcome.Failure.isEmpty() ? host::ShowWarning
                                                       : host::ShowInformation)(RegimeSummary(outcome));
        if (params->GetSampleType() == fider::kProfilesSampleType && outcome.Calculated > 0)
            ShowComparison(item, regime, params->GetSamplePeriod());
        return;
    }
    if (outcome.Calculated == 0) {
        host::ShowWarning(QStringLiteral("Расчет линии «%1» не выполнен:\n").arg(lv->GetText()) +
                          (outcome.Failure.isEmpty() ? outcome.Problems.join(QLatin1Char('\n')) : outcome.Failure));
        return;
    }
    // The feeder's balance, then its scheme with the voltages, currents and losses of this run.
    TFiderHH fider(lv->GetIdent(), lv->GetText(), lv->Parent() ? lv->Parent()->GetIdent() : 0);
    plugin_->ShowFiderHHResults(&fider, params->GetSamplePeriod());
    ShowDetailOf(lv, outcome.LastIdent);
}

void MainWindow::ShowBalance(bool toExport)
{
    ToznListItemCommon* lv = SelectedOfType(NodeType::LVFiders);
    if (!lv) {
        host::ShowWarning(QStringLiteral("Выберите линию 0,4 кВ в дереве сети"));
        return;
    }
    TFiderHH fider(lv->GetIdent(), lv->GetText(), lv->Parent() ? lv->Parent()->GetIdent() : 0);
    if (!toExport) {
        plugin_->ShowFiderHHResults(&fider, SelectedPeriod());
        return;
    }
    TOExport target;
    plugin_->BuildFiderHHResults(&fider, &target);
    if (target.Rows().empty()) {
        host::ShowWarning(QStringLiteral("Нет результатов расчета по линии %1").arg(lv->GetText()));
        return;
    }
    TExportTableDialog table(target, this);
    table.exec();
}

void MainWindow::ShowTreeMenu(const QPoint& position)
{
    const QModelIndex index = tree_->indexAt(position);
    if (!index.isValid())
        return;
    tree_->setCurrentIndex(index);
    ToznListItemCommon* item = SelectedItem();
    if (!item)
        return;
    QMenu menu(this);
    if (item->GetNodeType() == NodeType::Nodes) {
        menu.addAction(importScheme_);
        menu.addAction(exportScheme_);
        menu.addAction(importProfiles_);
    } else if (item->GetNodeType() == NodeType::LVFiders) {
        menu.addAction(editScheme_);
        menu.addAction(exportScheme_);
    }
    if (!menu.isEmpty())
        menu.exec(tree_->viewport()->mapToGlobal(position));
}

void MainWindow::ImportScheme()
{
    ToznListItemCommon* node = SelectedOfType(NodeType::Nodes);
    if (!node) {
        host::ShowWarning(QStringLiteral("Выберите в дереве сети ТП, в которую загружается схема 0,4 кВ"));
        return;
    }
    const int nodeGuid = node->GetIdent();
    const QString nodeName = node->GetText();
    const QString file = ChooseBookFile ? ChooseBookFile(false, QString()) : QString();
    if (file.isEmpty())
        return;
    const QString title = QStringLiteral("Загрузка схемы 0,4 кВ");
    const QString bookName = QFileInfo(file).fileName();
    std::vector<scheme::TBookProblem> problems;
    const scheme::TSchemeBook book = scheme::ReadSchemeBookFile(file, problems);
    if (!problems.empty()) {
        ProblemsDialog::Show(this, title, QStringLiteral("Книга «%1» не загружена.").arg(bookName),
                             scheme::ProblemTexts(problems));
        return;
    }
    if (std::all_of(book.Sections.begin(), book.Sections.end(),
                    [](const scheme::TBookRow& r) { return r.IsEmpty(); })) {
        host::ShowWarning(QStringLiteral("В книге «%1» на листе «%2» нет ни одного участка")
                              .arg(bookName, QString::fromUtf8(scheme::kSectionsSheet)));
        return;
    }
    ToznFDConnection& connection = *database_->GetDefaultConnection();
    scheme::TSchemeStore store(connection);
    scheme::TImportOptions options;
    options.NodeGuid = nodeGuid;
    options.SampleIdent = SelectedPeriod();
    scheme::TImportSummary summary;
    bool stored = false;
    try {
        const QStringList existing = store.FidersWithSchemes(book, nodeGuid);
        if (!existing.isEmpty()) {
            if (!host::AskYesNo(QStringLiteral("Схемы линий %1 уже есть в базе. Заменить их?").arg(Quoted(existing))))
                return;
            options.Replace = true;
        }
        stored = store.Import(book, options, summary, problems);
    } catch (const EDatabaseError& e) {
        problems.push_back({QString(), 0, 0, e.Text()});
    }
    if (!stored) {
        ProblemsDialog::Show(this, title,
                             QStringLiteral("Схема из книги «%1» не загружена в ТП «%2»; в базе ничего не изменено.")
                                 .arg(bookName, nodeName),
                             scheme::ProblemTexts(problems));
        return;
    }
    auto* model = static_cast<TreeModel*>(tree_->model());
    for (const auto& created : summary.NewFiderList)
        model->AddLVFider(nodeGuid, created.Guid, created.Name, created.Unom);
    if (ToznListItemCommon* substation = database_->GetTree()->Find(nodeGuid))
        tree_->expand(model->IndexOf(substation));
    UpdateStatus();
    host::ShowInformation(QStringLiteral("ТП «%1», книга «%2».\n%3").arg(nodeName, bookName, summary.ToString()));
}

void MainWindow::ImportProfiles()
{
    ToznListItemCommon* node = SelectedOfType(NodeType::Nodes);
    if (!node) {
        host::ShowWarning(QStringLiteral("Выберите в дереве сети ТП, в линии которой загружаются графики нагрузки"));
        return;
    }
    const QString file = ChooseProfileFile ? ChooseProfileFile() : QString();
    if (file.isEmpty())
        return;
    const QString title = QStringLiteral("Загрузка графиков нагрузки");
    // The file's dates find its interval.
    const profiles::TProfileLoad load =
        profiles::LoadProfileFileAsking(*database_->GetDefaultConnection(), file, node->GetIdent(), 0);
    if (load.Stored) {
        host::ShowInformation(
            QStringLiteral("ТП «%1», файл «%2».\n%3").arg(node->GetText(), QFileInfo(file).fileName(), load.Summary()));
        return;
    }
    if (!load.Existing.isEmpty() && load.Check.Ok() && load.Error.isEmpty())
        return;  // the user kept the profiles the database has
    ProblemsDialog::Show(this, title,
                         QStringLiteral("Графики из файла «%1» не загружены в ТП «%2»; в базе ничего не изменено.")
                             .arg(QFileInfo(file).fileName(), node->GetText()),
                         load.Problems());
}

void MainWindow::ShowComparison(ToznListItemCommon* item, fider::TRegimeKind regime, int sampleIdent)
{
    const auto feeders =
        profiles::ReadComparisons(*database_->GetDefaultConnection(), sampleIdent, static_cast<int>(regime), 0);
    const std::vector<profiles::TComparisonRow> rows =
        profiles::CompareOverTree(*database_->GetTree(), item->GetIdent(), feeders);
    if (rows.empty())
        return;
    TOExport table;
    profiles::FillComparisonExport(table, item->GetText(), rows);
    TExportTableDialog dialog(table, this);
    dialog.setObjectName(QStringLiteral("ComparisonTable"));
    dialog.exec();
}

void MainWindow::ExportScheme()
{
    ToznListItemCommon* target = SelectedOfType(NodeType::LVFiders);
    if (!target)
        target = SelectedOfType(NodeType::Nodes);
    if (!target) {
        host::ShowWarning(QStringLiteral("Выберите в дереве сети ТП или линию 0,4 кВ"));
        return;
    }
    scheme::TSchemeBook book;
    QString error;
    bool read = false;
    try {
        read = scheme::TSchemeStore(*database_->GetDefaultConnection())
                   .Export(target->GetIdent(), SelectedPeriod(), book, error);
    } catch (const EDatabaseError& e) {
        error = e.Text();
    }
    if (!read) {
        host::ShowWarning(QStringLiteral("Схема не выгружена: %1").arg(error));
        return;
    }
    const QString file = ChooseBookFile ? ChooseBookFile(true, FileNameOf(target->GetText())) : QString();
    if (file.isEmpty())
        return;
    if (!scheme::WriteSchemeBook(file, book, error)) {
        host::ShowWarning(QStringLiteral("Книга «%1» не записана: %2").arg(file, error));
        return;
    }
    host::ShowInformation(QStringLiteral("Схема «%1» выгружена в книгу «%2»: участков %3, абонентов %4")
                              .arg(target->GetText(), QFileInfo(file).fileName())
                              .arg(book.Sections.size())
                              .arg(book.Consumers.size()));
}

void MainWindow::EditScheme()
{
    ToznListItemCommon* lv = SelectedOfType(NodeType::LVFiders);
    if (!lv) {
        host::ShowWarning(QStringLiteral("Выберите линию 0,4 кВ в дереве сети"));
        return;
    }
    // One editor per feeder.
    for (SchemeEditor* open : findChildren<SchemeEditor*>(QString(), Qt::FindDirectChildrenOnly))
        if (open->FiderGuid() == lv->GetIdent()) {
            open->show();
            open->raise();
            open->activateWindow();
            return;
        }
    auto* editor = new SchemeEditor(
        *database_->GetDefaultConnection(), lv->GetIdent(), lv->GetText(), lv->Parent() ? lv->Parent()->GetIdent() : 0,
        SelectedPeriod(),
        [this](int fider) {
            if (ToznListItemCommon* item = database_->GetTree()->Find(fider))
                RunRegime(false, item);
            else
                host::ShowWarning(QStringLiteral("Линия 0,4 кВ %1 не найдена в дереве сети").arg(fider));
        },
        this);
    editor->setAttribute(Qt::WA_DeleteOnClose);
    editor->show();
}

void MainWindow::EditConductors()
{
    ConductorDialog dialog(*database_->GetDefaultConnection(), this);
    dialog.exec();
}

void MainWindow::UpdateStatus()
{
    TfdbTree* t = database_->GetTree();
    statusBar()->showMessage(QStringLiteral("ТП: %1, линий 0,4 кВ: %2")
                                 .arg(t->CountOfType(NodeType::Nodes))
                                 .arg(t->CountOfType(NodeType::LVFiders)));
}
