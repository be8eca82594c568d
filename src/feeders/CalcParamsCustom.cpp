#include "feeders/CalcParamsCustom.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTabBar>
#include <QToolButton>
#include <QVBoxLayout>

#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/EditConstraints.h"
#include "host/InputRanges.h"
#include "host/NumericHelpers.h"
#include "host/SamplePeriods.h"

namespace {
constexpr QRgb kDiffersColour = 0xFF0000;  // the host's colour 255: red
}

TfrmCalcParamsCustom::TfrmCalcParamsCustom(QWidget* owner) : QDialog(owner), constraints_(new TEditConstraints(this))
{
    setWindowTitle(QStringLiteral("Расчет потерь эл.энергии (установившийся режим)"));
    body_ = new QVBoxLayout(this);
    levels_ = new QTabBar(this);
    levels_->setObjectName(QStringLiteral("TabLevels"));
    for (const char* caption : {"Текущие", "Линия", "ТП(заданные)", "ТП(расчетные)"})
        levels_->addTab(QString::fromUtf8(caption));
    body_->addWidget(levels_);
    auto* modeRow = new QHBoxLayout;
    modeRow->addWidget(new QLabel(QStringLiteral("Метод расчёта"), this));
    mode_ = new QComboBox(this);
    mode_->setObjectName(QStringLiteral("ComboSampleType"));
    modeRow->addWidget(mode_, 1);
    body_->addLayout(modeRow);
    SetModes({QStringLiteral("По токам головного участка"), QStringLiteral("По заданным нагрузкам"),
              QStringLiteral("По графикам нагрузки")});

    grid_ = new QGridLayout;
    grid_->addWidget(new QLabel(QStringLiteral("Фаза А"), this), 0, 1, Qt::AlignCenter);
    grid_->addWidget(new QLabel(QStringLiteral("Фаза В"), this), 0, 2, Qt::AlignCenter);
    grid_->addWidget(new QLabel(QStringLiteral("Фаза С"), this), 0, 3, Qt::AlignCenter);
    body_->addLayout(grid_);
    AddPhaseBoxes(QStringLiteral("EditU"), QStringLiteral("Фазное напряжение в центре питания, В"), TParamField::UA,
                  QStringLiteral("0.#"));
    AddPhaseBoxes(QStringLiteral("EditImax"), QStringLiteral("Максимальный ток головного участка, А"),
                  TParamField::ImaxA, QStringLiteral("0.##"));
    AddPhaseBoxes(QStringLiteral("EditCos"), QStringLiteral("Коэффициент мощности головного участка, о.е."),
                  TParamField::CosA, QStringLiteral("0.###"));
    AddBox(QStringLiteral("EditKDP"), QStringLiteral("Коэффициент дополнительных потерь, о.е."), TParamField::Kdp,
           QStringLiteral("0.000"));
    AddBox(QStringLiteral("EditTemperature"), QStringLiteral("Температура, °С"), TParamField::Temperature,
           QStringLiteral("0.#"));

    auto* bottom = new QHBoxLayout;
    auto* set = new QToolButton(this);
    set->setObjectName(QStringLiteral("btnSet"));
    set->setText(QStringLiteral("Установить"));
    set->setPopupMode(QToolButton::InstantPopup);
    auto* setMenu = new QMenu(set);
    setMenu->setObjectName(QStringLiteral("SetMenu"));
    setMenu->addAction(QStringLiteral("Отпуск электроэнергии"), this, &TfrmCalcParamsCustom::CopyEnergy);
    setMenu->addAction(QStringLiteral("Все"), this, &TfrmCalcParamsCustom::CopyAll);
    set->setMenu(setMenu);
    bottom->addWidget(set);
    saveToDb_ = new QCheckBox(QStringLiteral("Сохранить в базе данных"), this);
    saveToDb_->setObjectName(QStringLiteral("cbSaveDB"));
    bottom->addWidget(saveToDb_);
    bottom->addStretch();
    auto* buttons = new QDialogButtonBox(this);
    auto* help = buttons->addButton(QStringLiteral("Помощь"), QDialogButtonBox::HelpRole);
    help->setObjectName(QStringLiteral("btnHelp"));
    buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole)->setObjectName(QStringLiteral("btnOK"));
    buttons->addButton(QStringLiteral("Отмена"), QDialogButtonBox::RejectRole)
        ->setObjectName(QStringLiteral("btnCancel"));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(help, &QPushButton::clicked, this, [] {
        host::ShowInformation(
            QStringLiteral("Задайте параметры режима на вкладке \"Текущие\"; значения линии и ТП переносятся кнопкой "
                           "\"Установить\". Значения, округленные при показе, выделены красным."));
    });
    bottom->addWidget(buttons);
    body_->addLayout(bottom);

    connect(levels_, &QTabBar::currentChanged, this, [this](int level) {
        // The values of another level are shown over the fields: not while one holds a refused text.
        if (level != shownLevel_ && !FieldsAccepted()) {
            const QSignalBlocker blocker(levels_);
            levels_->setCurrentIndex(shownLevel_);
            return;
        }
        shownLevel_ = level;
        RefreshBoxes();
    });
    connect(mode_, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!refreshing_ && params_ && index >= 0)
            params_->SetSampleType(index);
        RefreshBoxes();
    });
}

void TfrmCalcParamsCustom::SetModes(const QStringList& captions)
{
    const bool was = refreshing_;
    refreshing_ = true;
    mode_->clear();
    mode_->addItems(captions);
    refreshing_ = was;
}

void TfrmCalcParamsCustom::SetStorage(std::function<void()> load, std::function<void()> save)
{
    load_ = std::move(load);
    save_ = std::move(save);
}

QLineEdit* TfrmCalcParamsCustom::AddBox(const QString& name, const QString& caption, TParamField field,
                                        const QString& format, std::function<double(TLVCalcLevel)> get, bool lineless,
                                        bool energy)
{
    auto* edit = new QLineEdit(this);
    edit->setObjectName(name);
    const int row = grid_->rowCount();
    auto* label = new QLabel(caption, this);
    label->setObjectName(QStringLiteral("Label") + name.mid(4));
    grid_->addWidget(label, row, 0);
    grid_->addWidget(edit, row, 1);
    if (!get)
        get = [this, field](TLVCalcLevel level) { return params_->Get(field, level); };
    boxes_.push_back({edit, field, format, std::move(get), lineless, energy});
    SetupConstraint(edit, caption, field);
    const size_t index = boxes_.size() - 1;
    connect(edit, &QLineEdit::editingFinished, this, [this, index] { BoxEdited(boxes_[index]); });
    return edit;
}

void TfrmCalcParamsCustom::AddPhaseBoxes(const QString& prefix, const QString& caption, TParamField first,
                                         const QString& format)
{
    const int row = grid_->rowCount();
    grid_->addWidget(new QLabel(caption, this), row, 0);
    const char* phases[] = {"A", "B", "C"};
    const char* phaseNames[] = {"А", "В", "С"};
    for (int p = 0; p < 3; ++p) {
        auto* edit = new QLineEdit(this);
        edit->setObjectName(prefix + QLatin1String(phases[p]));
        grid_->addWidget(edit, row, p + 1);
        const auto field = static_cast<TParamField>(static_cast<int>(first) + p);
        boxes_.push_back(
            {edit, field, format, [this, field](TLVCalcLevel l) { return params_->Get(field, l); }, false, false});
        SetupConstraint(edit, QStringLiteral("%1, фаза %2").arg(caption, QString::fromUtf8(phaseNames[p])), field);
        const size_t index = boxes_.size() - 1;
        connect(edit, &QLineEdit::editingFinished, this, [this, index] { BoxEdited(boxes_[index]); });
    }
}

namespace {
// What each value of the regime accepts: the ranges the measurement workbooks check.
TInputRule ruleOf(TParamField field)
{
    switch (field) {
    case TParamField::UA:
    case TParamField::UB:
    case TParamField::UC: return host::ranges::PhaseVoltage();
    case TParamField::ImaxA:
    case TParamField::ImaxB:
    case TParamField::ImaxC:
    case TParamField::IA:
    case TParamField::IB:
    case TParamField::IC: return host::ranges::PhaseCurrent();
    case TParamField::CosA:
    case TParamField::CosB:
    case TParamField::CosC: return host::ranges::PowerFactor();
    case TParamField::Kdp: return host::ranges::AdditionalLosses();
    case TParamField::Temperature: return host::ranges::Temperature();
    case TParamField::T: return host::ranges::IntervalHours();
    case TParamField::Kzap: return host::ranges::FillFactor();
    case TParamField::SqrKfg: return host::ranges::SquaredFormFactor();
    case TParamField::Tmax: return host::ranges::TmaxHours();
    case TParamField::Tau: return host::ranges::TauRelative();
    default: return host::ranges::Energy();
    }
}
}  // namespace

void TfrmCalcParamsCustom::SetupConstraint(QLineEdit* edit, const QString& caption, TParamField field)
{
    constraints_->AddContraints(edit, caption, ruleOf(field));
}

bool TfrmCalcParamsCustom::FieldsAccepted()
{
    if (constraints_->CheckConstraint())
        return true;
    host::ShowWarning(QStringLiteral("Значения не приняты:\n%1\nИсправьте их или отмените правку (\"Отмена\").")
                          .arg(constraints_->Errors().join(QLatin1Char('\n'))));
    return false;
}

bool TfrmCalcParamsCustom::ConfirmLeaveInterval()
{
    if (!FieldsAccepted())
        return false;
    if (!params_ || !HasStorage() || params_->Values(TLVCalcLevel::Current) == loaded_)
        return true;
    const TSamplePeriodInfo* shown =
        CurrentDatabase()
            ? CurrentDatabase()->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(params_->GetSamplePeriod())
            : nullptr;
    switch (host::dialogs().Message(host::AppCaption(),
                                    QStringLiteral("Сохранить значения, введенные для интервала «%1»?")
                                        .arg(shown ? shown->Name : QString::number(params_->GetSamplePeriod())),
                                    host::Icon::Question, host::Buttons::YesNoCancel)) {
    case host::mrYes: try { save_();
        } catch (const std::exception& e) {
            host::ShowWarning(QString::fromUtf8(e.what()));
            return false;
        }
        return true;
    case host::mrNo: return true;
    default: return false;
    }
}

QLineEdit* TfrmCalcParamsCustom::Box(const QString& name) const { return findChild<QLineEdit*>(name); }

TLVCalcLevel TfrmCalcParamsCustom::Level() const { return static_cast<TLVCalcLevel>(levels_->currentIndex()); }

void TfrmCalcParamsCustom::SetLevel(TLVCalcLevel level) { levels_->setCurrentIndex(static_cast<int>(level)); }

bool TfrmCalcParamsCustom::Prepare()
{
    if (!params_)
        return false;
    params_->SetOnChange([this] { ParamsChanged(); });
    return true;
}

void TfrmCalcParamsCustom::ParamsChanged()
{
    if (!refreshing_)
        RefreshBoxes();
}

void TfrmCalcParamsCustom::RefreshBoxes()
{
    if (!params_)
        return;
    refreshing_ = true;
    mode_->setCurrentIndex(params_->GetSampleType());
    const TLVCalcLevel level = Level();
    const bool current = level == TLVCalcLevel::Current;
    for (BoxBinding& box : boxes_) {
        QPalette palette = box.edit->palette();
        palette.setColor(QPalette::Text, palette.color(QPalette::WindowText));
        if (box.lineless && (current || level == TLVCalcLevel::Line)) {
            box.edit->clear();
        } else if (box.energy && params_->isWaCalc()) {
            box.edit->setText(QStringLiteral("Расчет"));
        } else if (constraints_->isContraint(box.edit)) {
            // A refused text stays until the user settles it.
        } else {
            const double value = box.get(level);
            const QString text = FormatFloat(box.format, value);
            box.edit->setText(text);
            double shown = EmptyFloat();
            ParseFloat(text, shown);
            if (!isEmptyFloat(value) && CompareFloat(shown, value) != 0)
                palette.setColor(QPalette::Text, QColor::fromRgb(kDiffersColour));
        }
        box.edit->setPalette(palette);
        // Values are typed on "Текущие"; energies are given on the first three tabs only.
        bool enabled = current;
        if (box.energy)
            enabled = level != TLVCalcLevel::TPCalc && !params_->isWaCalc();
        box.edit->setEnabled(enabled);
        box.edit->setReadOnly(!current);
    }
    refreshing_ = false;
}

void TfrmCalcParamsCustom::BoxEdited(BoxBinding& box)
{
    if (refreshing_ || !params_ || Level() != TLVCalcLevel::Current || box.edit->isReadOnly())
        return;
    // A text the field refuses stays in it, marked, and the parameters keep their value.
    double value = EmptyFloat();
    if (!constraints_->CheckControl(box.edit, value))
        return;
    params_->Set(box.field, value);
    RefreshBoxes();
}

void TfrmCalcParamsCustom::CopyAll()
{
    if (!params_)
        return;
    if (Level() == TLVCalcLevel::Current) {
        params_->CopyCurrentToLine();
        return;
    }
    params_->CopyFrom(Level());
    SetLevel(TLVCalcLevel::Current);
}

void TfrmCalcParamsCustom::CopyEnergy()
{
    if (!params_ || Level() == TLVCalcLevel::Current)
        return;
    params_->SetWa(params_->Get(TParamField::Wa, Level()));
    SetLevel(TLVCalcLevel::Current);
}

void TfrmCalcParamsCustom::LoadStored()
{
    if (!load_)
        return;
    try {
        load_();
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
    }
    if (params_)
        loaded_ = params_->Values(TLVCalcLevel::Current);
}

void TfrmCalcParamsCustom::accept()
{
    // "OK" (or Enter) hands the values over: never with a field holding a refused text.
    if (!FieldsAccepted())
        return;
    if (saveToDb_->isChecked() && save_) {
        try {
            save_();
        } catch (const std::exception& e) {
            host::ShowWarning(QString::fromUtf8(e.what()));
            return;
        }
        if (params_)
            loaded_ = params_->Values(TLVCalcLevel::Current);
    }
    QDialog::accept();
}
