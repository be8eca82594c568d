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
    : QWidget(owner), connection_(connection), store_(std::make_unique<TLVNormativeStore>(connection))
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
    outer->addLayout(buttons);
    connect(save_, &QPushButton::clicked, this, &TLVNormativInputPage::Save);
    connect(cancel_, &QPushButton::clicked, this, &TLVNormativInputPage::Cancel);
    connect(delete_, &QPushButton::clicked, this, &TLVNormativInputPage::Delete);

    sample_ = std::make_unique<TLVNormativSample>(this);
    sample_->Clear();
    SetModified(false);
    delete_->setEnabled(false);
    setEnabled(false);  // until an element is chosen
}

TLVNormativInputPage::~TLVNormativInputPage() = default;

QLineEdit* TLVNormativInputPage::AddEditor(QFormLayout* form, const QString& name, const QString& caption,
                                           bool readOnly)
{
    auto* editor = new QLineEdit(this);
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
    double value = -1;
    const QString text = editor->text().trimmed();
    if (!text.isEmpty() && !ParseFloat(text, value)) {
        host::ShowWarning(QStringLiteral("\"%1\" не является числом").arg(text));
        ShowValues();
        return;
    }
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
        CrossSectionTyped();
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

void TLVNormativInputPage::CrossSectionTyped()
{
    double value = -1;
    const QString text = Editor(QStringLiteral("EditF"))->text().trimmed();
    if (!text.isEmpty())
        ParseFloat(text, value);
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

void TLVNormativInputPage::ShowValues()
{
    if (!sample_)
        return;
    showing_ = true;
    const S& s = *sample_;
    Editor(QStringLiteral("EditWa"))->setText(shown(s.GetWa()));
    Editor(QStringLiteral("EditWa_bus"))->setText(shown(s.GetWa_bus()));
    Editor(QStringLiteral("EditT"))->setText(shown(s.GetT()));
    Editor(QStringLiteral("EditCosFi"))->setText(shown(s.GetCosFi()));
    Editor(QStringLiteral("EditF"))->setText(shown(s.GetF()));
    Editor(QStringLiteral("EditNLines"))->setText(shown(s.GetNLines()));
    Editor(QStringLiteral("Editdp"))->setText(shown(s.Getdp()));
    Editor(QStringLiteral("Editdn"))->setText(shown(s.Getdn()));
    Editor(QStringLiteral("Editkzap"))->setText(shown(s.Getkzap()));
    voltage_->setCurrentIndex(s.GetUnom() == 1 ? 1 : 0);
    for (int g = 0; g < 3; ++g) {
        const LengthGroup& group = kGroups[g];
        for (int m = 0; m < 3; ++m) {
            const QString line = QString::fromLatin1(S::LengthNames[group.lines[m]]);
            const double lineValue = s.GetLength(group.lines[m]);
            if (group.inputs[m] < 0) {
                Editor(QStringLiteral("Edit") + line)->setText(shown(lineValue));
                continue;
            }
            const auto input = static_cast<S::Length>(group.inputs[m]);
            Editor(QStringLiteral("Edit") + line)->setText(shown(S::KindTotal(lineValue, s.GetLength(input))));
            Editor(QStringLiteral("Line") + line)->setText(shown(lineValue));
            Editor(QStringLiteral("Edit") + QString::fromLatin1(S::LengthNames[input]))
                ->setText(shown(s.GetLength(input)));
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
    setEnabled(element && !period.isEmpty());
    sample_->Period = period;
    bool stored = false;
    if (element && !period.isEmpty()) {
        sample_->Ident = element->GetIdent();
        stored = GuardedRead(connection_, [&] {
            const bool found = store_->Load(*sample_, element->GetIdent(), period);
            if (found && sample_->Info != 0)
                store_->LoadSections(sample_->Info, sections_);
            return found;
        });
    } else {
        sample_->Clear();
    }
    ShowValues();
    SetModified(false);
    delete_->setEnabled(stored);
}

bool TLVNormativInputPage::Save()
{
    if (!element_ || period_.isEmpty())
        return false;
    if (sample_->Classify() != S::Outcome::Saved &&
        host::dialogs().Message(QStringLiteral("Подтверждение"),
                                QStringLiteral("Ошибка в исходных данных. Результаты расчета сохранены не будут!"),
                                host::Icon::Question, host::Buttons::YesNo) != host::mrYes)
        return false;
    connection_.StartTransaction(false);
    try {
        store_->Save(*sample_, period_.Ident);
        if (sectionsChanged_)
            store_->SaveSections(sample_->Info, sections_);
        connection_.Commit();
    } catch (const std::exception& e) {
        connection_.Rollback();
        host::ShowWarning(QString::fromUtf8(e.what()));
        return false;
    }
    sectionsChanged_ = false;
    SetModified(false);
    delete_->setEnabled(true);
    return true;
}

void TLVNormativInputPage::Cancel() { Load(element_, period_); }

bool TLVNormativInputPage::Delete()
{
    if (!element_ || period_.isEmpty())
        return false;
    if (host::dialogs().Message(QStringLiteral("Подтверждение"),
                                QStringLiteral("Удалить исходные данные и результаты расчета?"), host::Icon::Question,
                                host::Buttons::YesNo) != host::mrYes)
        return false;
    connection_.StartTransaction(false);
    try {
        store_->Delete(element_->GetIdent(), period_.Ident);
        connection_.Commit();
    } catch (const std::exception& e) {
        connection_.Rollback();
        host::ShowWarning(QString::fromUtf8(e.what()));
        return false;
    }
    Load(element_, period_);
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
