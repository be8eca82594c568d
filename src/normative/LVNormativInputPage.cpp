#include "normative/LVNormativInputPage.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QToolButton>
#include <QVBoxLayout>
#include <cmath>
#include <functional>

#include "host/Connection.h"
#include "host/Dialogs.h"
#include "host/EditConstraints.h"
#include "host/InputRanges.h"
#include "host/NumericHelpers.h"
#include "host/Tree.h"
#include "normative/ElementEnergies.h"
#include "normative/LVNormativMethodDBUnit.h"
#include "normative/NormativeSql.h"

using S = TLVNormativSample0;

namespace {
const QString kEditorFormat = QStringLiteral("0.######");
const QString kResultFormat = QStringLiteral("#,##0.000");

// Negative values are "not given" inside the model and show as an empty editor.
QString shown(double value, const QString& format = kEditorFormat)
{
    return value < 0 || isEmptyFloat(value) ? QString() : FormatFloat(format, value);
}

// The length groups: caption part, the three line fields and the three building-input fields (none for the
// main line).
struct LengthGroup {
    const char* caption;
    std::array<S::Length, 3> lines;
    std::array<int, 3> inputs;  // -1: no building inputs
    const char* equivalent;
};
const LengthGroup kGroups[3] = {
    {"Длина магистрали, км", {S::Lma, S::Lms, S::Lmm}, {-1, -1, -1}, "Lm"},
    {"Длина двухфазных и трехфазных ответвлений, км",
     {S::L23a, S::L23s, S::L23m},
     {S::L23ia, S::L23is, S::L23im},
     "L23"},
    {"Длина однофазных ответвлений, км", {S::L1a, S::L1s, S::L1m}, {S::L1ia, S::L1is, S::L1im}, "L1"},
};
const char* const kMaterials[3] = {" алюминиевые ", " стальные", " медные "};

double equivalent(const S& s, int group)
{
    switch (group) {
    case 0: return s.Lm();
    case 1: return s.L23();
    default: return s.L1();
    }
}
}  // namespace

void TLVNormativSample::Clear()
{
    TLVNormativSample0::Clear();
    if (page_)
        page_->ShowValues();
}

void TLVNormativSample::DoChange()
{
    TLVNormativSample0::DoChange();
    if (page_)
        page_->ShowResults();
}

void TLVNormativSample::DoGroupChange(Group group)
{
    TLVNormativSample0::DoGroupChange(group);
    if (page_)
        page_->ShowValues();
}

TLVNormativInputPage::TLVNormativInputPage(QWidget* owner, ToznFDConnection& connection)
    : QWidget(owner), connection_(connection), store_(std::make_unique<TLVNormativeStore>(connection)),
      constraints_(new TEditConstraints(this))
{
    setObjectName(QStringLiteral("tsInput"));
    auto* outer = new QVBoxLayout(this);
    auto* scroll = new QScrollArea(this);
    scroll->setWidgetResizable(true);
    auto* body = new QWidget(scroll);
    auto* columns = new QHBoxLayout(body);
    auto* inputs = new QFormLayout;
    columns->addLayout(inputs, 1);

    // A field with a button beside it.
    auto withButton = [&](const QString& name, const QString& caption, const QString& button, const QString& hint) {
        auto* row = new QHBoxLayout;
        row->addWidget(AddEditor(nullptr, name, {}));
        auto* tool = new QToolButton(body);
        tool->setObjectName(button);
        tool->setText(QStringLiteral("..."));
        tool->setToolTip(hint);
        row->addWidget(tool);
        inputs->addRow(caption, row);
        return tool;
    };
    connect(withButton(QStringLiteral("EditWa"), QStringLiteral("Трансформация в сеть 0,4 кВ, тыс. кВт.ч"),
                       QStringLiteral("btnCalcWa"), QStringLiteral("Расчетная трансформация в сеть")),
            &QToolButton::clicked, this, &TLVNormativInputPage::FillCalculatedWa);
    AddEditor(inputs, QStringLiteral("EditWa_bus"), QStringLiteral("Полезный отпуск с шин, тыс. кВт.ч"));
    AddEditor(inputs, QStringLiteral("EditWaNet"), QStringLiteral("Отпуск активной электроэнергии, тыс. кВт.ч"), true);
    AddEditor(inputs, QStringLiteral("EditT"), QStringLiteral("Расчетный период, ч"));
    AddEditor(inputs, QStringLiteral("EditCosFi"), QStringLiteral("Коэффициент мощности cosφ"));
    connect(withButton(QStringLiteral("EditF"), QStringLiteral("Сечение головного участка, мм²"),
                       QStringLiteral("btnAverageF"), QStringLiteral("Средневзвешенное сечение")),
            &QToolButton::clicked, this, &TLVNormativInputPage::EditCrossSection);
    AddEditor(inputs, QStringLiteral("EditNLines"), QStringLiteral("Количество линий, шт."));
    AddEditor(inputs, QStringLiteral("Editdp"), QStringLiteral("Доля энергии, отпускаемой населению, о.е."));
    AddEditor(inputs, QStringLiteral("Editdn"),
              QStringLiteral("Доля электроэнергии, потребляемая\nна расстоянии 1-2 пролета от ТП, о.е."));
    AddEditor(inputs, QStringLiteral("Editkzap"), QStringLiteral("Коэффициент заполнения графика, о.е."));
    voltage_ = new QComboBox(body);
    voltage_->setObjectName(QStringLiteral("ComboUnom"));
    voltage_->addItems({QStringLiteral("400/230"), QStringLiteral("220/127")});
    inputs->addRow(QStringLiteral("Номинальное напряжение, В"), voltage_);
    connect(voltage_, &QComboBox::activated, this, [this](int code) {
        sample_->SetUnom(code);
        SetModified(true);
    });

    auto* lengths = new QVBoxLayout;
    for (int g = 0; g < 3; ++g)
        lengths->addWidget(AddLengthGroup(QString::fromUtf8(kGroups[g].caption), g));
    auto* results = new QGroupBox(QStringLiteral("Результаты расчета"), body);
    auto* resultsForm = new QFormLayout(results);
    const std::pair<const char*, const char*> resultRows[] = {
        {"ResLekv", "Эквивалентная длина линии, км"},
        {"Resku", "kU, о.е."},
        {"Resk038", "k0.4, о.е."},
        {"ResdeltaWa", "Потери активной электроэнергии, тыс. кВт·ч"},
        {"ResdeltaWaPercent", "Потери активной электроэнергии, %"},
        {"ResCurrentDensity", "Плотность тока, А/мм²"},
        {"ResAverageLength", "Средняя длина линий, км"}};
    for (const auto& [name, caption] : resultRows) {
        auto* label = new QLabel(results);
        label->setObjectName(QString::fromLatin1(name));
        resultsForm->addRow(QString::fromUtf8(caption), label);
    }
    outcome_ = new QLabel(results);
    outcome_->setObjectName(QStringLiteral("LabelOutcome"));
    resultsForm->addRow(outcome_);
    lengths->addWidget(results);
    lengths->addStretch();
    columns->addLayout(lengths, 1);
    scroll->setWidget(body);
    outer->addWidget(scroll);

    auto* buttons = new QHBoxLayout;
    save_ = new QPushButton(QStringLiteral("Сохранить"), this);
    save_->setObjectName(QStringLiteral("btnSave"));
    cancel_ = new QPushButton(QStringLiteral("Отмена"), this);
    cancel_->setObjectName(QStringLiteral("btnCancel"));
    delete_ = new QPushButton(QStringLiteral("Удалить"), this);
    delete_->setObjectName(QStringLiteral("btnDelete"));
    buttons->addStretch();
    for (QPushButton* b : {save_, cancel_, delete_})
        buttons->addWidget(b);
    storedState_ = new QLabel(this);
    storedState_->setObjectName(QStringLiteral("LabelStored"));
    outer->addWidget(storedState_);
    outer->addLayout(buttons);
    connect(save_, &QPushButton::clicked, this, &TLVNormativInputPage::Save);
    connect(cancel_, &QPushButton::clicked, this, &TLVNormativInputPage::Cancel);
    connect(delete_, &QPushButton::clicked, this, &TLVNormativInputPage::Delete);

    // What each field accepts: the ranges in which the model takes a value, as the workbook of the generalised
    // data checks them.
    auto constrain = [this](const QString& editor, const QString& caption, const TInputRule& rule) {
        constraints_->AddContraints(Editor(editor), caption, rule);
    };
    constrain(QStringLiteral("EditWa"), QStringLiteral("Трансформация в сеть 0,4 кВ, тыс. кВт.ч"),
              host::ranges::Energy());
    constrain(QStringLiteral("EditWa_bus"), QStringLiteral("Полезный отпуск с шин, тыс. кВт.ч"),
              host::ranges::Energy());
    constrain(QStringLiteral("EditT"), QStringLiteral("Расчетный период, ч"), host::ranges::IntervalHours());
    constrain(QStringLiteral("EditCosFi"), QStringLiteral("Коэффициент мощности cosφ"), host::ranges::Share());
    constrain(QStringLiteral("EditF"), QStringLiteral("Сечение головного участка, мм²"), host::ranges::CrossSection());
    constrain(QStringLiteral("EditNLines"), QStringLiteral("Количество линий, шт."), host::ranges::LineCount());
    constrain(QStringLiteral("Editdp"), QStringLiteral("Доля энергии, отпускаемой населению, о.е."),
              host::ranges::Share());
    constrain(QStringLiteral("Editdn"),
              QStringLiteral("Доля электроэнергии, потребляемая на расстоянии 1-2 пролета от ТП, о.е."),
              host::ranges::Share());
    constrain(QStringLiteral("Editkzap"), QStringLiteral("Коэффициент заполнения графика, о.е."),
              host::ranges::FillFactor());
    for (const LengthGroup& g : kGroups)
        for (int m = 0; m < 3; ++m) {
            const QString group = QString::fromUtf8(g.caption), material = QString::fromUtf8(kMaterials[m]).trimmed();
            const QString line = QString::fromLatin1(S::LengthNames[g.lines[m]]);
            constrain(QStringLiteral("Edit") + line, QStringLiteral("%1: %2").arg(group, material),
                      host::ranges::Length());
            if (g.inputs[m] < 0)
                continue;
            constrain(QStringLiteral("Line") + line, QStringLiteral("%1: ответвления, %2").arg(group, material),
                      host::ranges::Length());
            constrain(QStringLiteral("Edit") + QString::fromLatin1(S::LengthNames[g.inputs[m]]),
                      QStringLiteral("%1: ввода в здания, %2").arg(group, material), host::ranges::Length());
        }
    // A refused text is an edit not settled: "Сохранить" and "Отмена" stay open for it, and leaving asks.
    connect(constraints_, &TEditConstraints::ErrorsChanged, this, [this] {
        if (!constraints_->GetEnabled())
            SetModified(true);
    });

    sample_ = std::make_unique<TLVNormativSample>(this);
    sample_->Clear();
    SetModified(false);
    delete_->setEnabled(false);
    setEnabled(false);  // until an element is chosen
}

TLVNormativInputPage::~TLVNormativInputPage() = default;

TNumericEdit* TLVNormativInputPage::AddEditor(QFormLayout* form, const QString& name, const QString& caption,
                                              bool readOnly)
{
    auto* editor = new TNumericEdit(this, kEditorFormat);
    editor->setObjectName(name);
    editor->setReadOnly(readOnly);
    if (!readOnly)
        connect(editor, &QLineEdit::editingFinished, this, [this, editor] { Edited(editor); });
    if (form)
        form->addRow(caption, editor);
    return editor;
}

QGroupBox* TLVNormativInputPage::AddLengthGroup(const QString& caption, int group)
{
    const LengthGroup& g = kGroups[group];
    auto* box = new QGroupBox(caption, this);
    auto* grid = new QGridLayout(box);
    for (int m = 0; m < 3; ++m) {
        grid->addWidget(new QLabel(QString::fromUtf8(kMaterials[m]), box), 0, m);
        grid->addWidget(
            AddEditor(nullptr, QStringLiteral("Edit") + QString::fromLatin1(S::LengthNames[g.lines[m]]), {}), 1, m);
    }
    grid->addWidget(new QLabel(QStringLiteral(" эквивалентная "), box), 0, 3);
    grid->addWidget(AddEditor(nullptr, QStringLiteral("Edit") + QString::fromLatin1(g.equivalent), {}, true), 1, 3);
    if (g.inputs[0] < 0)
        return box;
    // The branches and the building inputs they feed, entered apart.
    auto* more = new QToolButton(box);
    more->setObjectName(QStringLiteral("btnDetail") + QString::fromLatin1(g.equivalent));
    more->setText(QStringLiteral("..."));
    more->setCheckable(true);
    grid->addWidget(more, 1, 4);
    auto* detail = new QWidget(box);
    detail->setObjectName(QStringLiteral("Detail") + QString::fromLatin1(g.equivalent));
    auto* detailGrid = new QGridLayout(detail);
    detailGrid->addWidget(new QLabel(QStringLiteral("Ответвления"), detail), 1, 0);
    detailGrid->addWidget(new QLabel(QStringLiteral("Ввода в здания"), detail), 2, 0);
    for (int m = 0; m < 3; ++m) {
        detailGrid->addWidget(new QLabel(QString::fromUtf8(kMaterials[m]), detail), 0, m + 1);
        detailGrid->addWidget(
            AddEditor(nullptr, QStringLiteral("Line") + QString::fromLatin1(S::LengthNames[g.lines[m]]), {}), 1, m + 1);
        detailGrid->addWidget(
            AddEditor(nullptr, QStringLiteral("Edit") + QString::fromLatin1(S::LengthNames[g.inputs[m]]), {}), 2,
            m + 1);
    }
    detail->setVisible(false);
    grid->addWidget(detail, 2, 0, 1, 5);
    connect(more, &QToolButton::toggled, detail, &QWidget::setVisible);
    details_[group - 1] = detail;
    return box;
}

QLineEdit* TLVNormativInputPage::Editor(const QString& name) const { return findChild<QLineEdit*>(name); }

QString TLVNormativInputPage::ResultText(const QString& name) const
{
    const auto* label = findChild<QLabel*>(name);
    return label ? label->text() : QString();
}

void TLVNormativInputPage::Edited(QLineEdit* editor)
{
    if (showing_)
        return;
    // A text the field refuses stays in it, marked; the model keeps its value.
    double read = EmptyFloat();
    if (!constraints_->CheckControl(editor, read))
        return;
    const double value = isEmptyFloat(read) ? -1 : read;  // the model's "not given"
    const int before = sample_->ChangeCount();
    const QString name = editor->objectName();
    S& s = *sample_;
    if (name == QLatin1String("EditWa"))
        s.SetWa(value);
    else if (name == QLatin1String("EditWa_bus"))
        s.SetWa_bus(value);
    else if (name == QLatin1String("EditT"))
        s.SetT(static_cast<int>(std::lround(value)));
    else if (name == QLatin1String("EditCosFi"))
        s.SetCosFi(value);
    else if (name == QLatin1String("EditF"))
        CrossSectionTyped(value);
    else if (name == QLatin1String("EditNLines"))
        s.SetNLines(static_cast<int>(std::lround(value)));
    else if (name == QLatin1String("Editdp"))
        s.Setdp(value);
    else if (name == QLatin1String("Editdn"))
        s.Setdn(value);
    else if (name == QLatin1String("Editkzap"))
        s.Setkzap(value);
    for (const LengthGroup& g : kGroups)
        for (int m = 0; m < 3; ++m) {
            const QString line = QString::fromLatin1(S::LengthNames[g.lines[m]]);
            if (name == QStringLiteral("Edit") + line) {
                // A branch total typed in the group: the branches alone, no separate building inputs.
                s.SetLength(g.lines[m], value);
                if (g.inputs[m] >= 0)
                    s.SetLength(static_cast<S::Length>(g.inputs[m]), -1);
            } else if (name == QStringLiteral("Line") + line) {
                s.SetLength(g.lines[m], value);
            } else if (g.inputs[m] >= 0 &&
                       name == QStringLiteral("Edit") + QString::fromLatin1(S::LengthNames[g.inputs[m]])) {
                s.SetLength(static_cast<S::Length>(g.inputs[m]), value);
            }
        }
    ShowValues();
    if (sample_->ChangeCount() != before || sectionsChanged_)
        SetModified(true);
}

void TLVNormativInputPage::CrossSectionTyped(double value)
{
    if (CompareFloat(value, sample_->GetF()) == 0)
        return;
    // A typed cross-section replaces the weighted one: its table goes, if the user agrees.
    if (!sections_.Empty()) {
        if (host::dialogs().Message(QStringLiteral("Подтверждение"),
                                    QStringLiteral("Удалить данные расчёта средневзвешенного сечения?"),
                                    host::Icon::Question, host::Buttons::YesNo) != host::mrYes) {
            ShowValues();
            return;
        }
        sections_.Clear();
        sectionsChanged_ = true;
    }
    sample_->SetF(value);
}

void TLVNormativInputPage::EditCrossSection()
{
    if (!sections_.Edit(this))
        return;
    sectionsChanged_ = true;
    sample_->SetF(sections_.AverageF() > 0 ? sections_.AverageF() : -1);
    ShowValues();
    SetModified(true);
}

void TLVNormativInputPage::Show(const QString& editor, double value)
{
    QLineEdit* e = Editor(editor);
    if (!constraints_->isContraint(e))
        e->setText(shown(value));
}

void TLVNormativInputPage::ShowValues()
{
    if (!sample_)
        return;
    showing_ = true;
    const S& s = *sample_;
    Show(QStringLiteral("EditWa"), s.GetWa());
    Show(QStringLiteral("EditWa_bus"), s.GetWa_bus());
    Show(QStringLiteral("EditT"), s.GetT());
    Show(QStringLiteral("EditCosFi"), s.GetCosFi());
    Show(QStringLiteral("EditF"), s.GetF());
    Show(QStringLiteral("EditNLines"), s.GetNLines());
    Show(QStringLiteral("Editdp"), s.Getdp());
    Show(QStringLiteral("Editdn"), s.Getdn());
    Show(QStringLiteral("Editkzap"), s.Getkzap());
    voltage_->setCurrentIndex(s.GetUnom() == 1 ? 1 : 0);
    for (int g = 0; g < 3; ++g) {
        const LengthGroup& group = kGroups[g];
        for (int m = 0; m < 3; ++m) {
            const QString line = QString::fromLatin1(S::LengthNames[group.lines[m]]);
            const double lineValue = s.GetLength(group.lines[m]);
            if (group.inputs[m] < 0) {
                Show(QStringLiteral("Edit") + line, lineValue);
                continue;
            }
            const auto input = static_cast<S::Length>(group.inputs[m]);
            Show(QStringLiteral("Edit") + line, S::KindTotal(lineValue, s.GetLength(input)));
            Show(QStringLiteral("Line") + line, lineValue);
            Show(QStringLiteral("Edit") + QString::fromLatin1(S::LengthNames[input]), s.GetLength(input));
        }
    }
    showing_ = false;
    ShowResults();
}

void TLVNormativInputPage::ShowResults()
{
    if (!sample_)
        return;
    S& s = *sample_;
    Editor(QStringLiteral("EditWaNet"))->setText(shown(s.WaNet()));
    for (int g = 0; g < 3; ++g)
        Editor(QStringLiteral("Edit") + QString::fromLatin1(kGroups[g].equivalent))->setText(shown(equivalent(s, g)));
    const std::pair<const char*, double> values[] = {{"ResLekv", s.Lekv()},
                                                     {"Resku", s.ku()},
                                                     {"Resk038", s.k038()},
                                                     {"ResdeltaWa", s.deltaWa()},
                                                     {"ResdeltaWaPercent", s.deltaWaPercent()},
                                                     {"ResCurrentDensity", s.CurrentDensity()},
                                                     {"ResAverageLength", s.AverageLength()}};
    for (const auto& [name, value] : values)
        findChild<QLabel*>(QString::fromLatin1(name))->setText(shown(value, kResultFormat));
    const S::Outcome outcome = s.Classify();
    outcome_->setText(S::OutcomeMessage(outcome));
    outcome_->setStyleSheet(outcome == S::Outcome::Saved ? QString() : QStringLiteral("color: red"));
}

void TLVNormativInputPage::SetModified(bool modified)
{
    modified_ = modified;
    save_->setEnabled(modified);
    cancel_->setEnabled(modified);
}

void TLVNormativInputPage::Load(ToznListItemCommon* element, const TSamplePeriodInfo& period)
{
    element_ = element;
    period_ = period;
    sectionsChanged_ = false;
    sections_.Clear();
    constraints_->ClearAll();  // the fields show the stored data again
    setEnabled(element && !period.isEmpty());
    sample_->Period = period;
    bool found = false;
    stored_ = false;
    if (element && !period.isEmpty()) {
        sample_->Ident = element->GetIdent();
        found = GuardedRead(connection_, [&] {
            const bool any = store_->Load(*sample_, element->GetIdent(), period);
            if (any && sample_->Info != 0)
                store_->LoadSections(sample_->Info, sections_);
            return any;
        });
        stored_ = found && store_->LoadedOwnRow();
    } else {
        sample_->Clear();
    }
    ShowValues();
    SetModified(false);
    // Only the period's own row can be deleted; the scheme of another period shown as a start is not its.
    delete_->setEnabled(stored_);
    ShowStoredState(stored_ ? QStringLiteral("Исходные данные за период сохранены")
                    : found ? QStringLiteral("За период ничего не сохранено: показаны исходные данные ближайшего "
                                             "периода")
                            : QStringLiteral("За период ничего не сохранено"));
}

void TLVNormativInputPage::ShowStoredState(const QString& text) { storedState_->setText(text); }

QString TLVNormativInputPage::StoredText() const { return storedState_->text(); }

bool TLVNormativInputPage::Save()
{
    if (!element_ || period_.isEmpty())
        return false;
    // A field that holds a value it refuses: the inputs can be stored as the model holds them, without a result.
    const bool inputErrors = !constraints_->CheckConstraint();
    if (inputErrors &&
        host::dialogs().Message(QStringLiteral("Подтверждение"),
                                QStringLiteral("Ошибка в исходных данных. Результаты расчета сохранены не будут!"),
                                host::Icon::Question, host::Buttons::YesNo) != host::mrYes)
        return false;
    // Results only when the method gives them: a loss of 100 % or more, or none, is not stored as a result.
    const S::Outcome outcome = sample_->Classify();
    const bool withResults = !inputErrors && outcome == S::Outcome::Saved;
    connection_.StartTransaction(false);
    try {
        store_->Save(*sample_, period_.Ident, withResults);
        if (sectionsChanged_)
            store_->SaveSections(sample_->Info, sections_);
        connection_.Commit();
    } catch (const std::exception& e) {
        connection_.Rollback();
        host::ShowWarning(QString::fromUtf8(e.what()));
        return false;
    }
    sectionsChanged_ = false;
    stored_ = true;
    constraints_->ClearAll();
    ShowValues();  // the fields show what is stored
    SetModified(false);
    delete_->setEnabled(true);
    ShowStoredState(
        withResults ? QStringLiteral("Исходные данные и результаты расчета сохранены")
                    : QStringLiteral("Сохранены исходные данные; результаты расчета не сохранены: %1")
                          .arg(inputErrors ? QStringLiteral("ошибка в исходных данных") : S::OutcomeMessage(outcome)));
    emit StoredDataChanged();
    return true;
}

void TLVNormativInputPage::Cancel() { Load(element_, period_); }

bool TLVNormativInputPage::Delete()
{
    if (!element_ || period_.isEmpty() || !stored_)
        return false;
    if (host::dialogs().Message(QStringLiteral("Подтверждение"),
                                QStringLiteral("Удалить исходные данные и результаты расчета?"), host::Icon::Question,
                                host::Buttons::YesNo) != host::mrYes)
        return false;
    connection_.StartTransaction(false);
    try {
        store_->DeleteWithInputs(element_->GetIdent(), period_.Ident);
        connection_.Commit();
    } catch (const std::exception& e) {
        connection_.Rollback();
        host::ShowWarning(QString::fromUtf8(e.what()));
        return false;
    }
    // Nothing is stored for the period now: the page says so rather than showing another period's scheme.
    stored_ = false;
    sections_.Clear();
    sectionsChanged_ = false;
    constraints_->ClearAll();
    sample_->Clear();
    sample_->Ident = element_->GetIdent();
    ShowValues();
    SetModified(false);
    delete_->setEnabled(false);
    ShowStoredState(QStringLiteral("Исходные данные и результаты расчета за период удалены: за период ничего не "
                                   "сохранено"));
    emit StoredDataChanged();
    return true;
}

bool TLVNormativInputPage::AllowLeave()
{
    if (!modified_)
        return true;
    switch (host::dialogs().Message(QStringLiteral("Подтверждение"),
                                    QStringLiteral("Сохранить исходные данные и результаты расчета?"),
                                    host::Icon::Question, host::Buttons::YesNoCancel)) {
    case host::mrYes: return Save();
    case host::mrNo: SetModified(false); return true;
    default: return false;
    }
}

void TLVNormativInputPage::FillCalculatedWa()
{
    if (!element_ || period_.isEmpty())
        return;
    const TElementEnergies energies = ReadEnergiesOfElement(connection_, element_, period_);
    if (energies.isEmpty()) {
        host::ShowInformation(QStringLiteral("Нет замеров и результатов расчета за выбранный период"));
        return;
    }
    sample_->SetWa(isEmptyFloat(energies.Wa) ? -1 : energies.Wa);
    sample_->SetWa_bus(isEmptyFloat(energies.Wa_bus) ? -1 : energies.Wa_bus);
    ShowValues();
    SetModified(true);
    auto source = [](double value, const QString& what) {
        return isEmptyFloat(value) ? QStringLiteral("нет данных") : what;
    };
    host::ShowInformation(
        QStringLiteral("Трансформация в сеть: %1\nПолезный отпуск с шин: %2")
            .arg(source(energies.Wa, energies.WaSource), source(energies.Wa_bus, energies.BusSource)));
}
