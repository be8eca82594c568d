#include <QComboBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>

#include "feeders/CalcParamsMax.h"
#include "feeders/CalcParamsMiddle.h"
#include "feeders/CalcParamsWaAdd.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/SamplePeriods.h"
#include "host/SamplesTreeBox.h"
#include "host/fider/RegimeSettings.h"
#include "host/profiles/ProfileStore.h"

TWaAddPanelForm::TWaAddPanelForm(QWidget* owner, QWidget* panel) : QFrame(owner, Qt::Popup)
{
    setObjectName(QStringLiteral("WaAddPanelForm"));
    setFrameShape(QFrame::Box);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    panel->setParent(this);
    layout->addWidget(panel);
    panel->show();
}

void TWaAddPanelForm::ShowUnder(QWidget* box)
{
    move(box->mapToGlobal(QPoint(0, box->height())));
    show();
}

void TWaAddPanelForm::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape || event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        hide();
        return;
    }
    QFrame::keyPressEvent(event);
}

TfrmCalcParamsPW::TfrmCalcParamsPW(QWidget* owner) : TfrmCalcParamsCustom(owner)
{
    auto* row = new QHBoxLayout;
    row->addWidget(new QLabel(QStringLiteral("Расчетный период"), this));
    periods_ = new TSamplesTreeBox(this);
    periods_->setObjectName(QStringLiteral("ComboSamplesDates"));
    row->addWidget(periods_, 1);
    loadProfiles_ = new QPushButton(QStringLiteral("Загрузить графики нагрузки…"), this);
    loadProfiles_->setObjectName(QStringLiteral("btnLoadProfiles"));
    loadProfiles_->setToolTip(QStringLiteral("Графики нагрузки абонентов и головного счетчика из файла CSV или книги "
                                             "Excel в ТП линии, за выбранный период"));
    row->addWidget(loadProfiles_);
    connect(loadProfiles_, &QPushButton::clicked, this, &TfrmCalcParamsPW::LoadProfiles);
    Body()->insertLayout(1, row);

    AddBox(QStringLiteral("EditKzap"), QStringLiteral("Коэффициент заполнения, o.e."), TParamField::Kzap,
           QStringLiteral("0.###"));
    AddBox(QStringLiteral("EditT"), QStringLiteral("Расчетный период, ч"), TParamField::T, QStringLiteral("0"));
    QLineEdit* wa = AddBox(QStringLiteral("EditWa"), QStringLiteral("Отпуск активной электроэнергии, тыс. кВт·ч"),
                           TParamField::Wa, QStringLiteral("0.000"), {}, false, true);
    auto* more = new QToolButton(this);
    more->setObjectName(QStringLiteral("btnWaAdd"));
    more->setText(QStringLiteral("…"));
    Grid()->addWidget(more, Grid()->rowCount() - 1, 2);

    // The breakdown panel lives in the pop-up; its boxes are bound like the others.
    const int before = Grid()->rowCount();
    AddBox(QStringLiteral("EditWa_bus"), QStringLiteral("Полезный отпуск с шин, тыс. кВт·ч"), TParamField::Wa_bus,
           QStringLiteral("0.000"), {}, true);
    AddBox(QStringLiteral("EditWa_trans"), QStringLiteral("Трансформация в сеть 0.4 кВ, тыс. кВт·ч"),
           TParamField::Wa_tr, QStringLiteral("0.000"), {}, true);
    AddBox(QStringLiteral("EditWa2"), QStringLiteral("Отпуск активной электроэнергии, тыс. кВт·ч"), TParamField::Wa,
           QStringLiteral("0.000"), {}, false, true);
    panel_ = new QWidget(this);
    panel_->setObjectName(QStringLiteral("PanelWaAdd"));
    auto* panelGrid = new QGridLayout(panel_);
    for (int r = before; r < Grid()->rowCount(); ++r)
        for (int c = 0; c < 2; ++c)
            if (QLayoutItem* item = Grid()->itemAtPosition(r, c)) {
                QWidget* w = item->widget();
                Grid()->removeWidget(w);
                panelGrid->addWidget(w, r - before, c);
            }
    waAdd_ = new TWaAddPanelForm(this, panel_);
    connect(more, &QToolButton::clicked, this, &TfrmCalcParamsPW::ShowWaAdd);
    Q_UNUSED(wa);
}

void TfrmCalcParamsPW::ShowWaAdd() { waAdd_->ShowUnder(Box(QStringLiteral("EditWa"))); }

void TfrmCalcParamsPW::LoadProfiles()
{
    TCurrentDatabase* db = CurrentDatabase();
    if (!db || !Params() || !Params()->GetFiderGUID())
        return;
    ToznFDConnection& connection = *db->GetDefaultConnection();
    int node = 0;
    try {
        GuardedRead(connection, [&] {
            auto q = connection.NewQuery();
            q->SetSQLText(QStringLiteral(R"(select "OwnerGUID" from "LVFiders" where "GUID"=:GUID)"));
            q->ParamByName(QStringLiteral("GUID"), Params()->GetFiderGUID());
            q->Open();
            node = q->Eof() ? 0 : q->Int(QStringLiteral("OwnerGUID"));
        });
    } catch (const EDatabaseError& e) {
        host::ShowWarning(e.Text());
        return;
    }
    const QString file =
        host::dialogs().OpenFileName(QStringLiteral("Загрузка графиков нагрузки"),
                                     QStringLiteral("Графики нагрузки|*.csv *.txt *.xlsx|Все файлы|*"));
    if (file.isEmpty())
        return;
    const profiles::TProfileLoad load =
        profiles::LoadProfileFileAsking(connection, file, node, Params()->GetSamplePeriod());
    if (load.Stored) {
        Params()->SetSampleType(fider::kProfilesSampleType);
        RefreshBoxes();
        host::ShowInformation(load.Summary());
        return;
    }
    if (!load.Existing.isEmpty() && load.Check.Ok() && load.Error.isEmpty())
        return;  // the user kept the profiles the database has
    constexpr int kShown = 30;
    QStringList lines = load.Problems();
    if (lines.size() > kShown) {
        const int more = static_cast<int>(lines.size()) - kShown;
        lines = lines.mid(0, kShown);
        lines << QStringLiteral("… и еще %1").arg(more);
    }
    host::ShowWarning(QStringLiteral("Графики не загружены; в базе ничего не изменено.\n") +
                      lines.join(QLatin1Char('\n')));
}

bool TfrmCalcParamsPW::Prepare()
{
    if (!TfrmCalcParamsCustom::Prepare() || !CurrentDatabase())
        return false;
    {
        const QSignalBlocker blocker(periods_);
        periods_->Fill(CurrentDatabase()->GetSamplePeriods()->Items());
        if (!periods_->SetCurrentIdent(Params()->GetSamplePeriod()))
            return false;
    }
    Params()->SetSamplePeriod(periods_->CurrentIdent());
    // Profiles go into one feeder's substation: the dialog of a group of feeders has no one place for them.
    loadProfiles_->setEnabled(Params()->GetFiderGUID() != 0);
    LoadStored();
    connect(periods_, &TSamplesTreeBox::CurrentIdentChanged, this, [this](int ident) {
        if (ident == Params()->GetSamplePeriod())
            return;
        // Values typed for the interval shown are not replaced without a question.
        if (!ConfirmLeaveInterval()) {
            const QSignalBlocker blocker(periods_);
            periods_->SetCurrentIdent(Params()->GetSamplePeriod());
            return;
        }
        // Each interval has values of its own: the former interval's current values do not carry over,
        // and an interval with none stored starts from its measurement.
        if (HasStorage())
            Params()->Values(TLVCalcLevel::Current) = TLVCalcValues();
        Params()->SetSamplePeriod(ident);
        LoadStored();
        RefreshBoxes();
    });
    RefreshBoxes();
    return true;
}

TfrmCalcParamsMiddle::TfrmCalcParamsMiddle(QWidget* owner) : TfrmCalcParamsPW(owner)
{
    setObjectName(QStringLiteral("frmCalcParamsMiddle"));
    setWindowTitle(QStringLiteral("Расчет потерь эл.энергии по средним нагрузкам"));
    SetModes({QStringLiteral("По отпуску активной электроэнергии"), QStringLiteral("По заданным нагрузкам"),
              QStringLiteral("По графикам нагрузки")});
    AddPhaseBoxes(QStringLiteral("EditI"), QStringLiteral("Измеренный ток головного участка, А"), TParamField::IA,
                  QStringLiteral("0.###"));
    AddBox(QStringLiteral("EditKfg"), QStringLiteral("Квадрат коэффициента формы графика, o.e."), TParamField::SqrKfg,
           QStringLiteral("0.00#"), [this](TLVCalcLevel level) { return Params()->GetSqrKfgCalc(level); });
}

TfrmCalcParamsMax::TfrmCalcParamsMax(QWidget* owner) : TfrmCalcParamsPW(owner)
{
    setObjectName(QStringLiteral("frmCalcParamsMax"));
    AddBox(QStringLiteral("EditTmax"), QStringLiteral("Время использования наибольшей нагрузки, ч"), TParamField::Tmax,
           QStringLiteral("0"), [this](TLVCalcLevel level) { return Params()->GetTmaxCalc(level); });
    AddBox(QStringLiteral("EditTau"), QStringLiteral("Относительное число часов наибольших потерь мощности, o.e."),
           TParamField::Tau, QStringLiteral("0.0##"),
           [this](TLVCalcLevel level) { return Params()->GetTauCalc(level); });
}
