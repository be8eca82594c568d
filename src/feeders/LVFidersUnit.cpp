#include "feeders/LVFidersUnit.h"

#include <QCalendarWidget>
#include <QCloseEvent>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSplitter>
#include <QTabWidget>
#include <QVBoxLayout>
#include <tuple>

#include "feeders/FeedersSql.h"
#include "feeders/ReportHTMLForm.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/DesktopDialogs.h"
#include "host/EditConstraints.h"
#include "host/HostCommands.h"
#include "host/InputRanges.h"
#include "host/LoadTypesEditor.h"
#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "host/WindowPlace.h"
#include "normative/KrazvRefUnit.h"

TLVFidersForm* LVFidersForm = nullptr;

namespace {
constexpr int kDefaultProvod = 644;  // the conductor of a new line
const char* const kPhases[] = {"A", "B", "C"};

QString dateText(const QDate& date) { return date.toString(QStringLiteral("dd.MM.yyyy")); }

QString fixed(double v, int decimals)
{
    return isEmptyFloat(v) || !std::isfinite(v) ? QString()
                                                : FormatFloat(QStringLiteral("0.") + QString(decimals, '0'), v);
}
}  // namespace

TLVFidersForm::TLVFidersForm(QWidget* owner, ToznFDConnection& connection)
    : QDialog(owner), connection_(connection), rf_(EmptyFloat()), xf_(EmptyFloat()), rn_(EmptyFloat()),
      constraints_(new TEditConstraints(this))
{
    setObjectName(QStringLiteral("LVFidersForm"));
    setWindowTitle(QStringLiteral("Линии 0,38 кВ"));
    host::KeepOpenOnEnter(*this);
    KeepWindowPlace(*this, QStringLiteral("LVFidersForm"), QSize(1100, 700));
    auto* layout = new QVBoxLayout(this);
    auto* splitter = new QSplitter(this);
    layout->addWidget(splitter);

    auto* left = new QWidget(splitter);
    auto* leftLayout = new QVBoxLayout(left);
    fiders_ = new QListWidget(left);
    fiders_->setObjectName(QStringLiteral("FidersList"));
    leftLayout->addWidget(fiders_);
    auto* lineButtons = new QHBoxLayout;
    auto button = [this](const QString& name, const QString& text, QLayout* into, auto slot) {
        auto* b = new QPushButton(text, this);
        b->setObjectName(name);
        into->addWidget(b);
        connect(b, &QPushButton::clicked, this, slot);
        return b;
    };
    button(QStringLiteral("btnNewLine"), QStringLiteral("Новая линия"), lineButtons, &TLVFidersForm::NewLine);
    button(QStringLiteral("btnRename"), QStringLiteral("Переименовать"), lineButtons, &TLVFidersForm::RenameLine);
    button(QStringLiteral("btnDeleteLine"), QStringLiteral("Удалить линию"), lineButtons, &TLVFidersForm::DeleteLine);
    leftLayout->addLayout(lineButtons);

    auto* right = new QWidget(splitter);
    auto* rightLayout = new QVBoxLayout(right);
    auto* toolbar = new QHBoxLayout;
    toolbar->addWidget(new QLabel(QStringLiteral("Замеры"), right));
    dates_ = new QComboBox(right);
    dates_->setObjectName(QStringLiteral("Date_CBox"));
    toolbar->addWidget(dates_, 1);
    button(QStringLiteral("btnAddSample"), QStringLiteral("Добавить"), toolbar, &TLVFidersForm::AddSample);
    button(QStringLiteral("btnDeleteSamples"), QStringLiteral("Удалить"), toolbar, &TLVFidersForm::DeleteSamples);
    button(QStringLiteral("btnCopySample"), QStringLiteral("Копировать замер"), toolbar, &TLVFidersForm::CopySample);
    main_ =
        button(QStringLiteral("btnMain"), QStringLiteral("Пометить как основной"), toolbar, &TLVFidersForm::ToggleMain);
    main_->setCheckable(true);
    rightLayout->addLayout(toolbar);
    pages_ = new QTabWidget(right);
    pages_->setObjectName(QStringLiteral("PageControl"));
    auto* mainPage = new QWidget(pages_);
    auto* resultsPage = new QWidget(pages_);
    pages_->addTab(mainPage, QStringLiteral("Основная"));
    pages_->addTab(resultsPage, QStringLiteral("Результаты расчета "));
    BuildMainTab(mainPage);
    BuildResultsTab(resultsPage);
    rightLayout->addWidget(pages_);
    splitter->setStretchFactor(1, 3);

    // The reports stand at the bottom, so that the row of the samples fits a 1366-pixel screen.
    auto* bottom = new QHBoxLayout;
    reportLine_ = button(QStringLiteral("btnReportLine"), QStringLiteral("Вывести отчет по текущей линии"), bottom,
                         &TLVFidersForm::ShowLineReport);
    reportTP_ = button(QStringLiteral("btnReportTP"), QStringLiteral("Вывести отчет по ТП"), bottom,
                       &TLVFidersForm::ShowTPReport);
    bottom->addStretch();
    save_ = button(QStringLiteral("btnSave"), QStringLiteral("Сохранить"), bottom, &TLVFidersForm::SaveChanges);
    cancel_ = button(QStringLiteral("btnCancel"), QStringLiteral("Отмена"), bottom, &TLVFidersForm::CancelChanges);
    button(QStringLiteral("btnExit"), QStringLiteral("Выход"), bottom, &TLVFidersForm::Exit);
    layout->addLayout(bottom);
    SetSaveEnabled(false);

    connect(fiders_, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* item, QListWidgetItem* previous) {
        if (!item || busy_)
            return;
        if (!MayLeaveFields()) {
            // The typed texts stay with the feeder shown until the user settles them.
            busy_ = true;
            fiders_->setCurrentItem(previous);
            busy_ = false;
            return;
        }
        ShowFider(item->data(Qt::UserRole).toInt());
    });
    connect(dates_, &QComboBox::currentIndexChanged, this, [this] {
        if (busy_)
            return;
        if (!MayLeaveFields()) {
            busy_ = true;
            dates_->setCurrentIndex(shownDate_);
            busy_ = false;
            return;
        }
        ShowSample();
    });
    SetupConstraints();
}

void TLVFidersForm::BuildMainTab(QWidget* page)
{
    auto* form = new QFormLayout;
    auto edit = [page](const QString& name) {
        auto* e = new QLineEdit(page);
        e->setObjectName(name);
        return e;
    };
    auto withButton = [page](QWidget* w, QPushButton* b) {
        auto* row = new QWidget(page);
        auto* l = new QHBoxLayout(row);
        l->setContentsMargins(0, 0, 0, 0);
        l->addWidget(w, 1);
        l->addWidget(b);
        return row;
    };
    typeLoad_ = new QComboBox(page);
    typeLoad_->setObjectName(QStringLiteral("cbTypeLoad"));
    form->addRow(QStringLiteral("Характер нагрузки"), typeLoad_);
    provodPhase_ = new QComboBox(page);
    provodPhase_->setObjectName(QStringLiteral("cbProvodPhase"));
    form->addRow(QStringLiteral("Марка фазного пр."), provodPhase_);
    provodNull_ = new QComboBox(page);
    provodNull_->setObjectName(QStringLiteral("cbProvodNull"));
    form->addRow(QStringLiteral("Марка нулевого пр."), provodNull_);
    for (const auto& [name, caption] : {std::pair{"EditR0", "R0, Ом/км"},
                                        {"EditX0", "Х0, Ом/км"},
                                        {"EditRf", "Rф, Ом"},
                                        {"EditXf", "Хф, Ом"},
                                        {"EditRn", "Rн, Ом"}}) {
        QLineEdit* e = edit(QString::fromLatin1(name));
        e->setReadOnly(true);
        form->addRow(QString::fromUtf8(caption), e);
    }
    form->addRow(QStringLiteral("Коммутационный аппарат"), edit(QStringLiteral("EditSwitch")));
    form->addRow(QStringLiteral("Потребитель"), edit(QStringLiteral("EditConsumer")));
    cosReset_ = new QPushButton(QStringLiteral("×"), page);
    cosReset_->setObjectName(QStringLiteral("btnCosReset"));
    cosReset_->setToolTip(QStringLiteral("Значение Cos не соответствует справочному.\r\nДля сброса нажмите кнопку."));
    QLineEdit* cos = edit(QStringLiteral("EditCosFi"));
    cos->setToolTip(QStringLiteral("Двойной клик в поле для \r\nредактирования справочника"));
    cos->installEventFilter(this);
    form->addRow(QStringLiteral("К-т мощности Г.У., о.е."), withButton(cos, cosReset_));
    tmaxReset_ = new QPushButton(QStringLiteral("×"), page);
    tmaxReset_->setObjectName(QStringLiteral("btnTmaxReset"));
    tmaxReset_->setToolTip(QStringLiteral("Значение Tmax не соответствует справочному.\r\nДля сброса нажмите кнопку."));
    form->addRow(QStringLiteral("Тmax, часов"), withButton(edit(QStringLiteral("EditTmax")), tmaxReset_));
    form->addRow(QStringLiteral("Длина фидера, км"), edit(QStringLiteral("EditLength")));
    knmWarning_ = new QPushButton(QStringLiteral("!"), page);
    knmWarning_->setObjectName(QStringLiteral("btnKnmWarning"));
    knmWarning_->setToolTip(
        QStringLiteral("Значение Кн/м не соответствует справочному.\r\nДля сброса Кн/м нажмите кнопку."));
    form->addRow(QStringLiteral("Кн/м, о.е."), withButton(edit(QStringLiteral("EditKnm")), knmWarning_));
    auto* krazvRef = new QPushButton(QStringLiteral("…"), page);
    krazvRef->setObjectName(QStringLiteral("btnKrazvRef"));
    form->addRow(QStringLiteral("К-т разветвленности, о.е."), withButton(edit(QStringLiteral("EditKrazv")), krazvRef));
    for (QPushButton* b : {cosReset_, tmaxReset_, knmWarning_})
        b->hide();

    auto* phases = new QGridLayout;
    const char* columns[] = {"Фаза А", "Фаза В", "Фаза С"};
    const std::pair<const char*, const char*> rows[] = {
        {"EditI", "I, А"}, {"EditU", "Uг.у., В"}, {"EditU2", "Uу.т., В"}};
    for (int c = 0; c < 3; ++c)
        phases->addWidget(new QLabel(QString::fromUtf8(columns[c]), page), 0, c + 1, Qt::AlignCenter);
    for (int r = 0; r < 3; ++r) {
        phases->addWidget(new QLabel(QString::fromUtf8(rows[r].second), page), r + 1, 0);
        for (int c = 0; c < 3; ++c) {
            QLineEdit* e = edit(QString::fromLatin1(rows[r].first) + QLatin1String(kPhases[c]));
            phases->addWidget(e, r + 1, c + 1);
            connect(e, &QLineEdit::textEdited, this, [this, e] { MeasuredEdited(e); });
        }
    }
    auto* layout = new QVBoxLayout(page);
    layout->addLayout(form);
    layout->addLayout(phases);
    layout->addStretch();

    connect(typeLoad_, &QComboBox::activated, this, [this](int index) {
        TRep_Data::Fider* fider = Fider();
        if (!fider || index < 0)
            return;
        fider->TypeLoad = typeLoad_->itemData(index).toInt();
        fider->state = fider->state == TRep_Data::RowState::New ? fider->state : TRep_Data::RowState::Changed;
        TRep_Data::FiderA* a = Attributes();
        const double cosEdit = Value(QStringLiteral("EditCosFi"));
        if (!(flags_.cosByHand && !isEmptyFloat(cosEdit))) {
            a->CosFi = repData_->TypeLoads().at(index).CosFi;
            Edit(QStringLiteral("EditCosFi"))->setText(FormatFloat3(a->CosFi));
            a->state = a->state == TRep_Data::RowState::New ? a->state : TRep_Data::RowState::Changed;
        }
        flags_.loadTypeChanged = true;
        Recalculate(true);
        flags_.currentsChanged = true;
    });
    connect(provodPhase_, &QComboBox::activated, this, [this] {
        TRep_Data::FiderA* a = Attributes();
        if (!a)
            return;
        a->ProvodPhase = provodPhase_->currentData().toInt();
        a->ProvodNull = a->ProvodPhase;
        a->state = a->state == TRep_Data::RowState::New ? a->state : TRep_Data::RowState::Changed;
        provodNull_->setCurrentIndex(provodNull_->findData(a->ProvodNull));
        FillConductorValues();
        Recalculate(true);
    });
    connect(provodNull_, &QComboBox::activated, this, [this] {
        TRep_Data::FiderA* a = Attributes();
        if (!a)
            return;
        a->ProvodNull = provodNull_->currentData().toInt();
        a->state = a->state == TRep_Data::RowState::New ? a->state : TRep_Data::RowState::Changed;
        FillConductorValues();
        Recalculate(true);
    });
    auto attributeText = [this](const QString& box, auto apply) {
        connect(Edit(box), &QLineEdit::textEdited, this, [this, box, apply] {
            TRep_Data::FiderA* a = Attributes();
            double accepted = EmptyFloat();
            if (busy_ || !a || !Accepted(box, accepted))
                return;
            apply(*a, Edit(box)->text());
            a->state = a->state == TRep_Data::RowState::New ? a->state : TRep_Data::RowState::Changed;
            SetSaveEnabled(true);
        });
    };
    attributeText(QStringLiteral("EditSwitch"), [](TRep_Data::FiderA& a, const QString& t) { a.SwitchGName = t; });
    attributeText(QStringLiteral("EditConsumer"), [](TRep_Data::FiderA& a, const QString& t) { a.ConsumerName = t; });
    attributeText(QStringLiteral("EditLength"), [this](TRep_Data::FiderA& a, const QString&) {
        a.LineLength = Value(QStringLiteral("EditLength"));
        FillConductorValues();
        Recalculate(true);
    });
    attributeText(QStringLiteral("EditCosFi"), [this](TRep_Data::FiderA& a, const QString&) {
        a.CosFi = Value(QStringLiteral("EditCosFi"));
        flags_.cosByHand = true;
        Recalculate(true);
    });
    // Leaving an emptied power factor takes the load kind's value again.
    connect(Edit(QStringLiteral("EditCosFi")), &QLineEdit::editingFinished, this, [this] {
        TRep_Data::FiderA* a = Attributes();
        if (busy_ || !a || !Edit(QStringLiteral("EditCosFi"))->text().trimmed().isEmpty() || !Fider())
            return;
        flags_.cosByHand = false;
        a->CosFi = repData_->CosOfTypeLoad(Fider()->TypeLoad);
        a->state = a->state == TRep_Data::RowState::New ? a->state : TRep_Data::RowState::Changed;
        Edit(QStringLiteral("EditCosFi"))->setText(FormatFloat3(a->CosFi));
        Recalculate(true);
    });
    connect(cosReset_, &QPushButton::clicked, this, [this] {
        Edit(QStringLiteral("EditCosFi"))->clear();
        cosReset_->hide();
        flags_.cosResetVisible = false;
        emit Edit(QStringLiteral("EditCosFi"))->editingFinished();
    });
    auto sampleEdit = [this](const QString& box, auto apply) {
        connect(Edit(box), &QLineEdit::textEdited, this, [this, box, apply] {
            double value = EmptyFloat();
            if (busy_ || !sample_ || !Accepted(box, value))
                return;
            apply(*sample_, value);
            sample_->state = sample_->state == TRep_Data::RowState::New ? sample_->state : TRep_Data::RowState::Changed;
            Recalculate(true);
        });
    };
    sampleEdit(QStringLiteral("EditTmax"), [this](TRep_Data::Sample& s, double v) {
        s.Tmax = isEmptyFloat(v) ? 0 : v;
        flags_.tmaxByHand = !isEmptyFloat(v);
    });
    sampleEdit(QStringLiteral("EditKnm"), [](TRep_Data::Sample& s, double v) { s.Knm = v; });
    sampleEdit(QStringLiteral("EditKrazv"), [this](TRep_Data::Sample& s, double v) {
        s.Krazv = v;
        flags_.krazvChanged = true;
    });
    connect(tmaxReset_, &QPushButton::clicked, this, [this] {
        if (!sample_)
            return;
        Edit(QStringLiteral("EditTmax"))->clear();
        tmaxReset_->hide();
        flags_.tmaxResetVisible = false;
        flags_.tmaxByHand = false;
        sample_->Tmax = 0;  // the next calculation looks Tmax up again
        Recalculate(true);
    });
    connect(knmWarning_, &QPushButton::clicked, this, [this] {
        if (!sample_)
            return;
        sample_->Knm = EmptyFloat();
        Recalculate(true);
    });
    connect(krazvRef, &QPushButton::clicked, this, [this] {
        if (!sample_)
            return;
        double krazv = isEmptyFloat(sample_->Krazv) ? 0 : sample_->Krazv;
        if (!TKrazvReference::Choose(this, krazv))
            return;
        sample_->Krazv = krazv;
        flags_.krazvChanged = true;
        Recalculate(true);
    });
}

void TLVFidersForm::BuildResultsTab(QWidget* page)
{
    auto* form = new QFormLayout(page);
    const std::pair<const char*, const char*> rows[] = {{"lblP", "Р г.у., кВт"},
                                                        {"lblDP", "P, кВт"},
                                                        {"lblDPpct", "P, %"},
                                                        {"lblUmean", "U г.у. ср., В"},
                                                        {"lblU2mean", "U у. т. ср., В"},
                                                        {"lblDU", "U, %"},
                                                        {"lblWa", "W г.у., тыс. кВтч"},
                                                        {"lblDW", "W , тыс. кВтч"},
                                                        {"lblDWpct", "W, %"},
                                                        {"lblTau", "τ, ч"},
                                                        {"lblKdp", "Кд.п., ед"}};
    for (const auto& [name, caption] : rows) {
        auto* label = new QLabel(page);
        label->setObjectName(QString::fromLatin1(name));
        form->addRow(QString::fromUtf8(caption), label);
        results_.insert(QString::fromLatin1(name), label);
    }
}

QLineEdit* TLVFidersForm::Edit(const QString& name) const { return findChild<QLineEdit*>(name); }

bool TLVFidersForm::Accepted(const QString& box, double& value) const
{
    const TInputValue read = constraints_->Check(Edit(box));
    value = read.number;
    return read.problem.isEmpty();
}

void TLVFidersForm::SetupConstraints()
{
    // What each field accepts: the ranges of the measurement workbooks and the regime dialogs.
    const std::tuple<QString, QString, TInputRule> fields[] = {
        {QStringLiteral("EditCosFi"), QStringLiteral("К-т мощности Г.У., о.е."), host::ranges::PowerFactor()},
        {QStringLiteral("EditTmax"), QStringLiteral("Тmax, часов"), host::ranges::TmaxHours()},
        {QStringLiteral("EditLength"), QStringLiteral("Длина фидера, км"), host::ranges::Length()},
        {QStringLiteral("EditKnm"), QStringLiteral("Кн/м, о.е."), host::ranges::LossRatio()},
        {QStringLiteral("EditKrazv"), QStringLiteral("К-т разветвленности, о.е."), host::ranges::BranchingFactor()}};
    for (const auto& [box, caption, rule] : fields)
        constraints_->AddContraints(Edit(box), caption, rule);
    const char* const phases[] = {"А", "В", "С"};
    for (int p = 0; p < 3; ++p) {
        const QString phase = QString::fromUtf8(phases[p]);
        constraints_->AddContraints(Edit(QStringLiteral("EditI") + QLatin1String(kPhases[p])),
                                    QStringLiteral("I, А, фаза %1").arg(phase), host::ranges::PhaseCurrent());
        constraints_->AddContraints(Edit(QStringLiteral("EditU") + QLatin1String(kPhases[p])),
                                    QStringLiteral("Uг.у., В, фаза %1").arg(phase), host::ranges::PhaseVoltage());
        constraints_->AddContraints(Edit(QStringLiteral("EditU2") + QLatin1String(kPhases[p])),
                                    QStringLiteral("Uу.т., В, фаза %1").arg(phase), host::ranges::PhaseVoltage());
    }
    // Leaving a field with a text it refuses: the text stays marked and the user is told the field and its range.
    for (QLineEdit* box : findChildren<QLineEdit*>())
        if (constraints_->IsConstrained(box))
            connect(box, &QLineEdit::editingFinished, this, [this, box] {
                double value = EmptyFloat();
                if (!busy_)
                    constraints_->CheckControl(box, value);
            });
    connect(constraints_, &TEditConstraints::ErrorsChanged, this, [this] {
        // The user can try to save and be told why not; the button says it too.
        SetSaveEnabled(save_->isEnabled() || !constraints_->GetEnabled());
        ShowResults();
    });
}

bool TLVFidersForm::MayLeaveFields()
{
    if (constraints_->CheckConstraint())
        return true;
    host::ShowWarning(QStringLiteral("Значения не приняты:\n%1\nИсправьте их или отмените правку (\"Отмена\").")
                          .arg(constraints_->Errors().join(QLatin1Char('\n'))));
    return false;
}

double TLVFidersForm::Value(const QString& box) const
{
    double v = EmptyFloat();
    const QString text = Edit(box)->text().trimmed();
    if (!text.isEmpty() && !ParseFloat(text, v))
        return EmptyFloat();
    return v;
}

TRep_Data::Fider* TLVFidersForm::Fider() const { return repData_ ? repData_->FindFider(lvFider_) : nullptr; }

TRep_Data::FiderA* TLVFidersForm::Attributes() const { return Fider() ? &repData_->Attributes(lvFider_) : nullptr; }

QDate TLVFidersForm::CurrentDate() const { return sample_ ? sample_->SampleDate : QDate(); }

void TLVFidersForm::OpenFiders()
{
    auto node = connection_.NewQuery();
    node->SetSQLText(QString::fromUtf8(FeedersSql::kNodeExists));
    node->ParamByName(QStringLiteral("GUID"), node_);
    node->Open();
    nodeFound_ = node_ != 0 && !node->Eof();
    if (nodeFound_)
        setWindowTitle(QStringLiteral("Линии 0,38 кВ: %1").arg(node->Str(QStringLiteral("Name"))));
    node->Close();
    if (!nodeFound_)
        return;  // the feeder asked for is reported back as it was
    const int wanted = lvFider_;
    busy_ = true;
    repData_->OpenFiders(node_);
    typeLoad_->clear();
    for (const auto& t : repData_->TypeLoads())
        typeLoad_->addItem(t.Name, t.Ident);
    provodPhase_->clear();
    provodNull_->clear();
    for (int ident : repData_->Provods().Idents()) {
        const TProvodRec* rec = repData_->Provods().GetProvodRec(ident);
        provodPhase_->addItem(rec->Text(), ident);
        provodNull_->addItem(rec->Text(), ident);
    }
    fiders_->clear();
    QListWidgetItem *first = nullptr, *select = nullptr;
    for (const TRep_Data::Fider& f : repData_->Fiders()) {
        auto* item = new QListWidgetItem(f.Name, fiders_);
        item->setData(Qt::UserRole, f.GUID);
        if (!first)
            first = item;
        if (f.GUID == wanted)
            select = item;
    }
    if (!select)
        select = first;
    if (select)
        fiders_->setCurrentItem(select);
    busy_ = false;
    ShowFider(select ? select->data(Qt::UserRole).toInt() : 0);
}

void TLVFidersForm::SelectFider(int guid)
{
    for (int i = 0; i < fiders_->count(); ++i)
        if (fiders_->item(i)->data(Qt::UserRole).toInt() == guid)
            fiders_->setCurrentRow(i);
}

void TLVFidersForm::ShowFider(int guid)
{
    busy_ = true;
    constraints_->ClearAll();  // the fields show the feeder's data anew
    lvFider_ = guid;
    flags_ = {};
    TRep_Data::Fider* fider = Fider();
    TRep_Data::FiderA* a = Attributes();
    typeLoad_->setCurrentIndex(fider ? typeLoad_->findData(fider->TypeLoad) : -1);
    provodPhase_->setCurrentIndex(a ? provodPhase_->findData(a->ProvodPhase) : -1);
    provodNull_->setCurrentIndex(a ? provodNull_->findData(a->ProvodNull) : -1);
    Edit(QStringLiteral("EditCosFi"))->setText(a ? FormatFloat3(a->CosFi) : QString());
    Edit(QStringLiteral("EditLength"))->setText(a ? FormatFloat3(a->LineLength) : QString());
    Edit(QStringLiteral("EditSwitch"))->setText(a ? a->SwitchGName : QString());
    Edit(QStringLiteral("EditConsumer"))->setText(a ? a->ConsumerName : QString());
    FillConductorValues();
    dates_->clear();
    int current = -1;
    if (fider)
        for (TRep_Data::Sample* s : repData_->SamplesOf(guid)) {
            dates_->addItem(dateText(s->SampleDate), s->SampleDate);
            if (s->IsMain == 1 || current < 0)
                current = s->IsMain == 1 ? dates_->count() - 1 : current;
        }
    dates_->setCurrentIndex(current >= 0 ? current : dates_->count() - 1);
    MarkMainDate();
    busy_ = false;
    ShowSample();
}

void TLVFidersForm::MarkMainDate()
{
    // The main sample stands out in the list of dates: named so and in bold.
    for (int i = 0; i < dates_->count(); ++i) {
        const QDate date = dates_->itemData(i).toDate();
        const TRep_Data::Sample* s = repData_->FindSample(lvFider_, date);
        const bool isMain = s && s->IsMain == 1;
        dates_->setItemText(i, isMain ? dateText(date) + QStringLiteral(" — основной") : dateText(date));
        QFont font = dates_->font();
        font.setBold(isMain);
        dates_->setItemData(i, font, Qt::FontRole);
    }
    QFont font = main_->font();
    font.setBold(main_->isChecked());
    main_->setFont(font);
}

void TLVFidersForm::SelectDate(const QDate& date) { dates_->setCurrentIndex(dates_->findData(date)); }

void TLVFidersForm::ShowSample()
{
    busy_ = true;
    constraints_->ClearAll();
    shownDate_ = dates_->currentIndex();
    sample_ = Fider() && dates_->currentIndex() >= 0 ? repData_->FindSample(lvFider_, dates_->currentData().toDate())
                                                     : nullptr;
    auto show = [this](const QString& box, double v, const QString& pattern) {
        Edit(box)->setText(sample_ ? FormatFloat(pattern, v) : QString());
    };
    for (int p = 0; p < 3; ++p) {
        show(QStringLiteral("EditI") + QLatin1String(kPhases[p]), sample_ ? sample_->I[p] : 0, QStringLiteral("0.##"));
        show(QStringLiteral("EditU") + QLatin1String(kPhases[p]), sample_ ? sample_->U[p] : 0, QStringLiteral("0.##"));
        show(QStringLiteral("EditU2") + QLatin1String(kPhases[p]), sample_ ? sample_->U2[p] : 0,
             QStringLiteral("0.##"));
    }
    show(QStringLiteral("EditTmax"), sample_ ? sample_->Tmax : 0, QStringLiteral("0"));
    show(QStringLiteral("EditKnm"), sample_ ? sample_->Knm : 0, QStringLiteral("0.000"));
    show(QStringLiteral("EditKrazv"), sample_ ? sample_->Krazv : 0, QStringLiteral("0.00"));
    main_->setChecked(sample_ && sample_->IsMain == 1);
    MarkMainDate();
    busy_ = false;
    Recalculate(false);
}

void TLVFidersForm::FillConductorValues()
{
    TRep_Data::FiderA* a = Attributes();
    const TProvodRec* phase = a ? repData_->Provods().GetProvodRec(a->ProvodPhase) : nullptr;
    // The same resistances the reports calculate a sample with.
    const TFeederImpedance z = FeederImpedance(repData_->Provods(), a);
    rf_ = z.Rf;
    xf_ = z.Xf;
    rn_ = z.Rn;
    // The neutral is chosen only for a conductor without its own.
    provodNull_->setEnabled(phase && !phase->ownNull);
    Edit(QStringLiteral("EditR0"))->setText(phase ? FormatFloat3(phase->R0) : QString());
    Edit(QStringLiteral("EditX0"))->setText(phase ? FormatFloat3(phase->X0) : QString());
    Edit(QStringLiteral("EditRf"))->setText(FormatFloat3(rf_));
    Edit(QStringLiteral("EditXf"))->setText(FormatFloat3(xf_));
    Edit(QStringLiteral("EditRn"))->setText(FormatFloat3(rn_));
}

void TLVFidersForm::MeasuredEdited(QLineEdit* box)
{
    if (busy_ || !sample_)
        return;
    const QString name = box->objectName();
    const int phase = name.back().unicode() - 'A';
    double v = EmptyFloat();
    if (!Accepted(name, v))
        return;  // a text the field refuses never reaches the sample
    if (name.startsWith(QLatin1String("EditU2")))
        sample_->U2[phase] = v;
    else if (name.startsWith(QLatin1String("EditU")))
        sample_->U[phase] = v;
    else
        sample_->I[phase] = v;
    sample_->state = sample_->state == TRep_Data::RowState::New ? sample_->state : TRep_Data::RowState::Changed;
    flags_.currentsChanged = true;
    Recalculate(true);
}

void TLVFidersForm::Recalculate(bool apply)
{
    if (busy_)
        return;
    TRep_Data::Fider* fider = Fider();
    TRep_Data::FiderA* a = Attributes();
    result_ = {};
    if (!sample_ || !fider || !a) {
        ShowResults();
        return;
    }
    if (fider->TypeLoad == 0 && !repData_->TypeLoads().empty()) {
        // With no load kind chosen, the first of the list is taken for the feeder.
        fider->TypeLoad = repData_->TypeLoads().front().Ident;
        typeLoad_->setCurrentIndex(0);
        fider->state = fider->state == TRep_Data::RowState::New ? fider->state : TRep_Data::RowState::Changed;
    }
    TLVFiderSampleCalc::Flags flags = flags_;
    if (!apply)
        flags = {};  // a sample shown as stored: results only, nothing written
    result_ = CalculateSample(*repData_, fider->TypeLoad, *sample_, a->CosFi, {rf_, xf_, rn_}, flags);
    const bool done = result_.status == TLVFiderSampleCalc::Status::Done;
    reportLine_->setEnabled(result_.status != TLVFiderSampleCalc::Status::Incomplete);
    reportTP_->setEnabled(reportLine_->isEnabled());
    if (result_.status == TLVFiderSampleCalc::Status::InvalidData && apply) {
        host::ShowWarning(QStringLiteral("Неверные данные"));
        Edit(QStringLiteral("EditU2") + QLatin1String(kPhases[result_.invalidPhase]))->setFocus();
    }
    if (done && apply) {
        flags_ = flags;
        ApplySampleResult(*sample_, result_);
        SetSaveEnabled(true);
        busy_ = true;
        auto update = [this](const QString& box, double v, const QString& pattern) {
            if (!Edit(box)->hasFocus() && !constraints_->isContraint(Edit(box)))
                Edit(box)->setText(FormatFloat(pattern, v));
        };
        update(QStringLiteral("EditTmax"), sample_->Tmax, QStringLiteral("0"));
        update(QStringLiteral("EditKnm"), sample_->Knm, QStringLiteral("0.000"));
        update(QStringLiteral("EditKrazv"), sample_->Krazv, QStringLiteral("0.00"));
        busy_ = false;
    }
    cosReset_->setVisible(flags_.cosResetVisible);
    tmaxReset_->setVisible(flags_.tmaxResetVisible);
    knmWarning_->setVisible(done && result_.knmWarning);
    ShowResults();
}

void TLVFidersForm::ShowResults()
{
    const bool done = result_.status == TLVFiderSampleCalc::Status::Done;
    const TRep_Data::Sample* s = sample_;
    results_[QStringLiteral("lblP")]->setText(s ? fixed(s->P, 2) : QString());
    results_[QStringLiteral("lblDP")]->setText(s ? fixed(s->DP, 3) : QString());
    results_[QStringLiteral("lblWa")]->setText(s ? fixed(s->Wa, 3) : QString());
    results_[QStringLiteral("lblDW")]->setText(s ? fixed(s->DW, 3) : QString());
    results_[QStringLiteral("lblDPpct")]->setText(done ? fixed(result_.DPpct, 3) : QString());
    results_[QStringLiteral("lblUmean")]->setText(done ? fixed(result_.Umean, 2) : QString());
    results_[QStringLiteral("lblU2mean")]->setText(done ? fixed(result_.U2mean, 2) : QString());
    results_[QStringLiteral("lblDU")]->setText(done ? fixed(result_.DU, 3) : QString());
    results_[QStringLiteral("lblDWpct")]->setText(done ? fixed(result_.DWpct, 3) : QString());
    results_[QStringLiteral("lblTau")]->setText(done ? fixed(result_.Tau, 2) : QString());
    results_[QStringLiteral("lblKdp")]->setText(done ? fixed(result_.Kdp, 3) : QString());
    // Values that do not follow from what the fields show (a field empty or refused) are the last calculation's:
    // they are greyed and say so, not shown as if they answered the typed values.
    const bool current = done && constraints_->Errors().isEmpty();
    const QString stale = current ? QString()
                                  : QStringLiteral("Значение последнего расчета: по введенным данным замер не "
                                                   "рассчитан (поле пустое или значение не принято)");
    for (QLabel* label : results_) {
        label->setEnabled(current);
        label->setToolTip(stale);
    }
}

void TLVFidersForm::ToggleMain()
{
    if (!sample_) {
        main_->setChecked(false);
        return;
    }
    if (sample_->IsMain == 1) {
        sample_->IsMain = 0;
    } else {
        // A sample without a loss is never the feeder's main one.
        if (isEmptyFloat(sample_->DP) || sample_->DP == 0) {
            main_->setChecked(false);
            return;
        }
        // The former main sample loses the mark in memory only; the save writes both rows.
        for (TRep_Data::Sample* other : repData_->SamplesOf(lvFider_))
            if (other != sample_ && other->IsMain == 1) {
                other->IsMain = 0;
                other->state = other->state == TRep_Data::RowState::New ? other->state : TRep_Data::RowState::Changed;
            }
        sample_->IsMain = 1;
    }
    sample_->state = sample_->state == TRep_Data::RowState::New ? sample_->state : TRep_Data::RowState::Changed;
    main_->setChecked(sample_->IsMain == 1);
    MarkMainDate();
    SetSaveEnabled(true);
}

namespace {
constexpr int kSaveLockTimeoutMs = 5000;
}

bool TLVFidersForm::SaveChanges()
{
    // What a field refuses is never stored, whichever way the save was asked for.
    if (!constraints_->CheckConstraint()) {
        host::ShowWarning(QStringLiteral("Изменения не сохранены: значения не приняты:\n%1\nИсправьте их или "
                                         "отмените правку (\"Отмена\").")
                              .arg(constraints_->Errors().join(QLatin1Char('\n'))));
        return false;
    }
    const bool own = !connection_.inTransaction();
    // A save waits a few seconds at most for rows another user holds; the connection's own limit comes back after.
    const int lockTimeout = connection_.LockTimeout();
    connection_.SetLockTimeout(kSaveLockTimeoutMs);
    struct Restore {
        ToznFDConnection& c;
        int ms;
        ~Restore() { c.SetLockTimeout(ms); }
    } restore{connection_, lockTimeout};
    try {
        if (own)
            connection_.StartTransaction(false);
        repData_->Save();
        if (own)
            connection_.Commit();
        else
            connection_.CommitRetaining();
    } catch (const std::exception& e) {
        // Nothing of a failed save stays in the transaction; the edits stay in memory to be saved again.
        try {
            if (own) {
                if (connection_.inTransaction())
                    connection_.Rollback();
            } else {
                RollbackToSaved();
            }
        } catch (const std::exception&) {
        }
        const auto* database = dynamic_cast<const EDatabaseError*>(&e);
        host::ShowWarning(
            database && IsConflict(*database)
                ? QStringLiteral("Данные линии изменил другой пользователь после того, как вы их открыли, "
                                 "или изменяет сейчас. Ваши изменения не сохранены и ничего чужого не "
                                 "перезаписано: нажмите «Отмена», чтобы перечитать данные, и внесите "
                                 "изменения снова.\n\n%1")
                      .arg(database->Text())
                : QString::fromUtf8(e.what()));
        return false;
    }
    SetSaveEnabled(false);
    return true;
}

void TLVFidersForm::RollbackToSaved()
{
    // The editor's transaction is committed at every save: what it holds now came after the last one.
    if (!connection_.inTransaction())
        return;
    connection_.Rollback();
    connection_.StartTransaction(false);
}

void TLVFidersForm::CancelChanges()
{
    const int guid = lvFider_;
    const QDate date = CurrentDate();
    RollbackToSaved();
    lvFider_ = guid;
    OpenFiders();  // reads every dataset again
    SelectDate(date);
    SetSaveEnabled(false);
}

bool TLVFidersForm::AskToSave()
{
    // A refused text in a field is an edit too: it is not given up without the question.
    if (!repData_ || (!repData_->Modified() && constraints_->CheckConstraint()))
        return true;
    // "Отмена" (and Escape) keeps the form open with everything typed.
    const QString question = QStringLiteral("Сохранить изменения за \"%1\"?").arg(dateText(CurrentDate()));
    switch (host::dialogs().Message(host::AppCaption(), question, host::Icon::Question, host::Buttons::YesNoCancel)) {
    case host::mrYes: return SaveChanges();
    case host::mrNo: CancelChanges(); return true;
    default: return false;
    }
}

void TLVFidersForm::Exit()
{
    if (AskToSave())
        accept();
}

bool TLVFidersForm::eventFilter(QObject* watched, QEvent* event)
{
    // A double click in the power factor opens the reference of load kinds.
    if (event->type() == QEvent::MouseButtonDblClick && watched == Edit(QStringLiteral("EditCosFi"))) {
        if (EditLoadTmaxTypes(this, connection_)) {
            repData_->ReloadTypeLoads();
            busy_ = true;
            const int index = typeLoad_->currentIndex();
            typeLoad_->clear();
            for (const auto& t : repData_->TypeLoads())
                typeLoad_->addItem(t.Name, t.Ident);
            typeLoad_->setCurrentIndex(index);
            busy_ = false;
        }
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

void TLVFidersForm::reject()
{
    if (AskToSave())
        QDialog::reject();
}

void TLVFidersForm::closeEvent(QCloseEvent* event)
{
    if (!AskToSave()) {
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

void TLVFidersForm::SetSaveEnabled(bool enabled)
{
    save_->setEnabled(enabled);
    // Why the button is grey, or what stops the save, where the user looks: on the button.
    const QStringList refused = constraints_->Errors();
    if (!enabled)
        save_->setToolTip(QStringLiteral("Сохранять нечего: с последнего сохранения ничего не изменено"));
    else if (!refused.isEmpty())
        save_->setToolTip(QStringLiteral("Не сохранится, пока не исправлены значения:\n") +
                          refused.join(QLatin1Char('\n')));
    else
        save_->setToolTip(QStringLiteral("Сохранить изменения в базе данных"));
}

QDate TLVFidersForm::ProposedSampleDate()
{
    const QDate today = QDate::currentDate();
    TCurrentDatabase* db = CurrentDatabase();
    const TSamplePeriodInfo* period = db && host::ChosenPeriod()
                                          ? db->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(host::ChosenPeriod())
                                          : nullptr;
    if (!period)
        return today;
    // The interval ends where the next begins ("01.01." of the next year for a year).
    const QDate first = period->SampleDate1.date(), next = period->SampleDate2.date();
    return today >= first && (!next.isValid() || today < next) ? today : first;
}

QDate TLVFidersForm::PickDate(const QDate& start)
{
    QDialog dialog(this);
    dialog.setObjectName(QStringLiteral("CalendarDialog"));
    dialog.setWindowTitle(QStringLiteral("Дата замера"));
    auto* layout = new QVBoxLayout(&dialog);
    auto* calendar = new QCalendarWidget(&dialog);
    calendar->setObjectName(QStringLiteral("Calendar"));
    calendar->setSelectedDate(start.isValid() ? start : QDate::currentDate());
    layout->addWidget(calendar);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    layout->addWidget(buttons);
    return dialog.exec() == QDialog::Accepted ? calendar->selectedDate() : QDate();
}

void TLVFidersForm::NewLine()
{
    if (repData_->Modified() && !SaveChanges())
        return;
    QString name;
    if (!host::dialogs().InputQuery(QStringLiteral("Создание новой линии "), QStringLiteral("Введите имя новой линии"),
                                    name) ||
        name.trimmed().isEmpty())
        return;
    const int guid = connection_.GetNewGUID();
    double unom = 0.38;
    if (TCurrentDatabase* db = CurrentDatabase())
        db->GetTree()->CreateFiderHH(node_, guid, 0, name, unom);
    const double previous[3] = {sample_ ? sample_->U[0] : EmptyFloat(), sample_ ? sample_->U[1] : EmptyFloat(),
                                sample_ ? sample_->U[2] : EmptyFloat()};
    TRep_Data::Fider fider;
    fider.GUID = guid;
    fider.Name = name.trimmed();
    fider.OwnerGUID = node_;
    fider.TypeLoad = 1;
    fider.Unom = unom;
    fider.state = TRep_Data::RowState::New;
    repData_->Fiders().push_back(fider);
    TRep_Data::FiderA& a = repData_->Attributes(guid);
    a.ProvodPhase = a.ProvodNull = kDefaultProvod;
    // The power factor of its load kind, as choosing the kind gives, so that the line calculates at once.
    a.CosFi = repData_->CosOfTypeLoad(fider.TypeLoad);
    TRep_Data::Sample& s = repData_->AddSample(guid, QDate::currentDate());
    for (int p = 0; p < 3; ++p)
        s.U[p] = previous[p];
    s.Krazv = 0.8;
    s.IsMain = 1;
    SaveChanges();
    lvFider_ = guid;
    OpenFiders();
}

void TLVFidersForm::RenameLine()
{
    TRep_Data::Fider* fider = Fider();
    if (!fider)
        return;
    QString name = fider->Name;
    if (!host::dialogs().InputQuery(QStringLiteral("Переименовать линию"), QStringLiteral("Введите новое имя линии"),
                                    name) ||
        name.trimmed().isEmpty())
        return;
    fider->Name = name.trimmed();
    fider->state = fider->state == TRep_Data::RowState::New ? fider->state : TRep_Data::RowState::Changed;
    fiders_->currentItem()->setText(fider->Name);
    SetSaveEnabled(true);
}

void TLVFidersForm::DeleteLine()
{
    TRep_Data::Fider* fider = Fider();
    if (!fider || !MayLeaveFields() || !host::AskYesNo(QStringLiteral("Удалить линию \"%1\"?").arg(fider->Name)))
        return;
    repData_->DeleteFider(fider->GUID);
    SaveChanges();
    lvFider_ = 0;
    OpenFiders();
}

void TLVFidersForm::AddSample()
{
    if (!Fider())
        return;
    const QDate date = PickDate(ProposedSampleDate());
    if (!date.isValid())
        return;
    if (repData_->FindSample(lvFider_, date) &&
        !host::AskYesNo(QStringLiteral("Удалить исходный замер за \"%1\"?").arg(dateText(date))))
        return;
    TRep_Data::Sample& s = repData_->AddSample(lvFider_, date);
    s.Krazv = 0.8;
    ShowFider(lvFider_);
    SelectDate(date);
    SetSaveEnabled(true);
}

void TLVFidersForm::DeleteSamples()
{
    if (!sample_ || !host::AskYesNo(QStringLiteral("Удалить замеры за %1 ?").arg(dateText(sample_->SampleDate))))
        return;
    repData_->DeleteSample(*sample_);
    sample_ = nullptr;
    ShowFider(lvFider_);
    SetSaveEnabled(true);
}

void TLVFidersForm::CopySample()
{
    if (!sample_)
        return;
    // The nine measured values, Knm, Tmax and Krazv of the sample shown.
    const TRep_Data::Sample copy = *sample_;
    const QDate date = PickDate(sample_->SampleDate);
    if (!date.isValid() || date == copy.SampleDate)
        return;
    if (repData_->FindSample(lvFider_, date) &&
        !host::AskYesNo(QStringLiteral("Удалить исходный замер за \"%1\"?").arg(dateText(date))))
        return;
    TRep_Data::Sample& s = repData_->AddSample(lvFider_, date);
    for (int p = 0; p < 3; ++p) {
        s.U[p] = copy.U[p];
        s.U2[p] = copy.U2[p];
        s.I[p] = copy.I[p];
    }
    s.Knm = copy.Knm;
    s.Tmax = copy.Tmax;
    s.Krazv = copy.Krazv;
    ShowFider(lvFider_);
    SelectDate(date);
    flags_.currentsChanged = true;
    Recalculate(true);
}

void TLVFidersForm::ShowLineReport()
{
    // The report shows the samples as they are in the editor, saved or not.
    if (Fider())
        OpenLineReport(this, *repData_, lvFider_);
}

void TLVFidersForm::ShowTPReport()
{
    if (repData_)
        OpenSubstationReport(this, *repData_);
}
