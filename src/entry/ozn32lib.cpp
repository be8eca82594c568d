// The exports of the plug-in: short frames around the library's forms.
#include "entry/ozn32lib.h"

#include <QApplication>
#include <memory>

#include "feeders/CalcParamsMax.h"
#include "feeders/CalcParamsMiddle.h"
#include "feeders/DataMod.h"
#include "feeders/DetailFrame038Unit.h"
#include "feeders/FeedersSql.h"
#include "feeders/LVFidersUnit.h"
#include "feeders/ReportHTMLForm.h"
#include "host/Database.h"
#include "host/Dialogs.h"
#include "host/FiderHHCalcParams.h"
#include "host/HostObjects.h"
#include "host/InitOZN.h"
#include "host/Tree.h"
#include "host/WindowService.h"
#include "import/xlsLVZamerSocialDLL.h"
#include "import/xlsLVZamerTmaxDLL.h"
#include "import/xlsLVZamerWDLL.h"
#include "normative/LVNormativMethod04Unit.h"
#include "results/LVResultsUndersupplyUnit.h"
#include "results/LVduCalcMenuUnit.h"
#include "results/PesResultsLVUnit.h"
#include "results/UnitLVResultsGrid.h"
#include "results/UnitPesResultsLV32.h"

void* dbkFCallWrapperAddr = nullptr;
void __dbk_fcall_wrapper() {}

namespace {

using namespace host::Placement;

// User rights that guard the workbook imports.
constexpr int RightWSamples = 12, RightTmaxSamples = 13, RightSocialData = 14;
// Right 0: the normative method's results only.
constexpr int RightNormativeResultsOnly = 0;

QString fromHost(const char16_t* text) { return text ? QString::fromUtf16(text) : QString(); }

host::WindowHandle mainWindow() { return host::windows().MainHandle(); }

// Hides the host's main window while a form runs beside the spreadsheet application.
void hideMainBesideExcel(TxlsCustomMenuForm& form)
{
    if (form.isBesideExcel()) {
        host::windows().SetWindowPos(mainWindow(), Top, NoSize | NoMove | NoActivate | Hide);
        form.NoteMainWindowHidden();
    }
}

// Hands the screen back after a template form: the spreadsheet stays in front when the user
// left the workbook open (No), else the host's window comes back on top. Frees the form.
template <class Form> void handBack(std::unique_ptr<Form>& form, int modalResult)
{
    auto& w = host::windows();
    const host::WindowHandle excel = form->ExcelHandle();
    if (!Init()->isExcelInstalled()) {
        form.reset();
    } else if (modalResult == host::mrNo) {
        form.reset();
        w.SetWindowPos(mainWindow(), Bottom, NoSize | NoMove | NoActivate | Show);
        w.SetForegroundWindow(excel);
    } else {
        w.SetWindowPos(mainWindow(), Top, NoSize | NoMove | Show);
        w.SetActiveWindow(mainWindow());
        w.SetForegroundWindow(mainWindow());
        form.reset();
    }
}

// The common frame of the three workbook imports.
template <class Form>
void runImport(const char16_t* AFileName, intptr_t AParam, int right, const QString& step1, bool refreshTree)
{
    try {
        if (!SetDataBaseName())
            return;
        QString fileName = fromHost(AFileName);
        if (!VerifySenderFile(fileName))
            return;
        TCurrentDatabase* db = CurrentDatabase();
        if (refreshTree)
            db->GetTree()->LVUpdateEnabled(*db->GetDefaultConnection(), {});
        auto form = std::make_unique<Form>(nullptr);
        form->SetReadOnly(!db->GetUserRightsByPeriodAndIdent(-1, -1, right));
        form->AddLog(step1, -1, -1);
        form->AddLog(QStringLiteral("step1a.AFileName=") + fileName, -1, -1);
        form->SetParam(AParam);
        form->SetFileName(fileName);
        hideMainBesideExcel(*form);
        int modalResult = 0;
        try {
            if (form->CanOpen()) {
                form->AddLog(QStringLiteral("step2.CanOpenTreeView"), 1, 1);
                modalResult = form->ShowModal();
                form->AddLog(QStringLiteral("step3.ShowModal"), 4, modalResult);
            } else {
                form->AddLog(QStringLiteral("step2.CanOpenTreeView"), 1, 0);
            }
        } catch (const std::exception& e) {
            form->AddLog(QStringLiteral("step3.ShowModal (") + QString::fromUtf8(e.what()) + QLatin1Char(')'), 8, -1);
        }
        handBack(form, modalResult);
    } catch (const EDatabaseError& e) {
        // Before the form is up (the tree, the user's rights): the user is told, the host never sees it.
        host::ShowWarning(e.Text());
    } catch (...) {
        // The host never sees an import's error; the form's log has it.
    }
}

template <class Form> int32_t runPesResults(TfdbDatabase* db, int32_t ident)
{
    auto form = std::make_unique<Form>(nullptr);
    int modalResult = 0;
    if (form->Init(db, ident)) {
        hideMainBesideExcel(*form);
        modalResult = form->ShowModal();
        handBack(form, modalResult);
    }
    return modalResult;
}

int32_t runResultsGrid(TfdbDatabase* db, int32_t ident)
{
    auto form = std::make_unique<TfrmLVResultsGrid>();
    return form->Init(db, ident) ? form->exec() : 0;
}

template <class Form, class Params>
int32_t runRegime(Params* AParams, void (*load)(ToznFDConnection&, Params&),
                  void (*save)(ToznFDConnection&, const Params&))
{
    int32_t result = host::mrCancel;
    try {
        auto form = std::make_unique<Form>();
        Params copy(*AParams);
        form->SetParams(&copy);
        copy.SetOnChange([f = form.get()] { f->ParamsChanged(); });
        // The copy reads and keeps its stored values on the host's default connection.
        if (TCurrentDatabase* db = CurrentDatabase()) {
            ToznFDConnection* connection = db->GetDefaultConnection();
            form->SetStorage([connection, &copy, load] { load(*connection, copy); },
                             [connection, &copy, save] {
                                 const bool own = !connection->inTransaction();
                                 if (own)
                                     connection->StartTransaction(false);
                                 save(*connection, copy);
                                 if (own)
                                     connection->Commit();
                             });
        }
        if (!form->Prepare()) {
            host::ShowWarning(QStringLiteral("Не задан период"));
            return host::mrCancel;
        }
        result = form->exec();
        copy.SetOnChange({});
        if (result == host::mrOk)
            AParams->Assign(copy);
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
    }
    return result;
}

}  // namespace

void ShowSamplesWInput(const char16_t* AFileName, intptr_t AParam)
{
    runImport<TxlsLVZamerWForm>(AFileName, AParam, RightWSamples, QStringLiteral("step1.ShowLVSamplesWInput"), true);
}

void ShowSamplesTmaxInput(const char16_t* AFileName, intptr_t AParam)
{
    runImport<TxlsLVZamerTmaxForm>(AFileName, AParam, RightTmaxSamples, QStringLiteral("step1.ShowLVSamplesTmaxInput"),
                                   true);
}

void ShowLVNormativMethodInput(const char16_t* AFileName, intptr_t AParam)
{
    runImport<TxlsLVZamerSocialForm>(AFileName, AParam, RightSocialData, QStringLiteral("step1.ShowLVSocialInput"),
                                     false);
}

int32_t ShowLVFiders(int32_t ANodeGUID, int32_t* ALVFiderGUID)
{
    TCurrentDatabase* db = CurrentDatabase();
    if (!db)
        return 0;
    ToznFDConnection& connection = *db->GetDefaultConnection();
    int32_t result = 0;
    try {
        connection.StartTransaction(false);
        auto form = std::make_unique<TLVFidersForm>(nullptr, connection);
        LVFidersForm = form.get();
        form->SetRepData(new TRep_Data(form.get(), connection));
        int node = ANodeGUID;
        const int lvFider = ALVFiderGUID ? *ALVFiderGUID : 0;
        if (lvFider != 0 && node == 0) {
            auto q = connection.NewQuery();
            q->SetSQLText(QString::fromUtf8(FeedersSql::kNodeOfLVFider));
            q->ParamByName(QStringLiteral("GUID"), lvFider);
            q->Open();
            if (!q->Eof())
                node = q->Int(QStringLiteral("OwnerGUID"));
        }
        form->SetNode(node);
        form->SetLVFider(lvFider);
        form->OpenFiders();
        if (form->NodeFound() && form->CanOpen())
            result = form->exec();
        if (ALVFiderGUID)
            *ALVFiderGUID = form->LVFider();
        form.reset();
        connection.Commit();
    } catch (const std::exception& e) {
        if (connection.inTransaction())
            connection.Rollback();
        host::ShowWarning(QString::fromUtf8(e.what()));
    }
    return result;
}

int32_t RunLVNormativMethod(TfdbDatabase* ADataBase)
{
    try {
        if (!ADataBase)
            return 0;
        if (ADataBase->GetUserRights(RightNormativeResultsOnly))
            return RunLVNormativMethodResults(ADataBase);
        std::unique_ptr<TLVNormativMethodForm4> form(
            TLVNormativMethodForm1::CreateForm<TLVNormativMethodForm4>(nullptr, ADataBase));
        form->SetFullRun(true);
        return form->exec();
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
        return 0;
    }
}

int32_t RunLVNormativMethodResults(TfdbDatabase* ADataBase)
{
    try {
        if (!ADataBase)
            return 0;
        std::unique_ptr<TLVNormativMethodForm4> form(
            TLVNormativMethodForm1::CreateForm<TLVNormativMethodForm4>(nullptr, ADataBase));
        form->SetInputPageVisible(false);
        return form->exec();
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
        return 0;
    }
}

int32_t ShowLVPESResults(TfdbDatabase* ADataBase, int32_t AIdent)
{
    try {
        if (!Init()->isExcelInstalled())
            return runResultsGrid(ADataBase, AIdent);
        if (ADataBase->GetInit()->GetParamBool(InitParam::PesResultsWithSpreadsheet))
            return runPesResults<TfrmPesResultsLV>(ADataBase, AIdent);
        return runPesResults<TfrmPesResultsLV32>(ADataBase, AIdent);
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
        return 0;
    }
}

namespace {
// The report of the menu's object: of a substation with its lines' main samples of the menu's year, or of one
// line with its samples.
void openMeasuredReport(QWidget* owner, ToznFDConnection& connection, int guid, int year)
{
    ToznListItemCommon* item = CurrentDatabase()->GetTree()->Find(guid);
    const int type = item ? item->Target()->GetNodeType() : 0;
    if (type == NodeType::Nodes)
        OpenSubstationReport(owner, connection, item->Target()->GetIdent(), year);
    else if (type == NodeType::LVFiders)
        OpenLineReport(owner, connection, guid);
    else
        host::ShowWarning(QStringLiteral("Отчет строится по ТП или по линии 0,4 кВ: выберите ее в дереве"));
}
}  // namespace

void ShowLVPESResultsAll()
{
    TCurrentDatabase* db = CurrentDatabase();
    if (!db)
        return;
    ToznFDConnection& connection = *db->GetDefaultConnection();
    try {
        connection.StartTransaction(false);
        auto form = std::make_unique<TfrmLVduCalcMenu>();
        // Every LV calculation of the chosen object starts from the menu through its own export.
        form->SetActions({
            {QStringLiteral("btnNormative"), QStringLiteral("Нормативный метод..."),
             [db](int) { RunLVNormativMethod(db); }},
            {QStringLiteral("btnZamerW"), QStringLiteral("Замеры W..."),
             [](int guid) { ShowSamplesWInput(u"", guid); }},
            {QStringLiteral("btnZamerTmax"), QStringLiteral("Замеры Tmax..."),
             [](int guid) { ShowSamplesTmaxInput(u"", guid); }},
            {QStringLiteral("btnSocial"), QStringLiteral("Обобщенные данные..."),
             [](int guid) { ShowLVNormativMethodInput(u"", guid); }},
            {QStringLiteral("btnReport"), QStringLiteral("Отчет..."),
             [menu = form.get(), &connection](int guid) { openMeasuredReport(menu, connection, guid, menu->Year()); }},
        });
        hideMainBesideExcel(*form);
        if (form->CanOpen())
            form->ShowModal();
        if (Init()->isExcelInstalled()) {
            auto& w = host::windows();
            const host::WindowHandle foreground = w.GetForegroundWindow();
            const quintptr own = w.GetWindowThreadProcessId(mainWindow());
            const quintptr other = w.GetWindowThreadProcessId(foreground);
            const bool attach = other != own;
            if (attach)
                w.AttachThreadInput(own, other, true);
            w.ShowWindow(mainWindow(), ShowCommandShow);
            w.SetWindowPos(mainWindow(), Top, NoSize | NoMove | Show);
            w.SetActiveWindow(mainWindow());
            w.SetForegroundWindow(mainWindow());
            if (attach)
                w.AttachThreadInput(own, other, false);
        }
        form.reset();
        connection.Rollback();
    } catch (const std::exception& e) {
        if (connection.inTransaction())
            connection.Rollback();
        host::ShowWarning(QString::fromUtf8(e.what()));
    }
}

void ShowLVResultsGrid(TfdbDatabase* ADataBase, int32_t AIdent)
{
    try {
        runResultsGrid(ADataBase, AIdent);
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
    }
}

int32_t ShowLVUndersupplyReport(intptr_t AParam)
{
    try {
        auto form = std::make_unique<TfrmLVUndersupply>();
        form->SetParam(AParam);
        return form->exec();
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
        return 0;
    }
}

QWidget* DetailFrameCreate(QWidget* AOwner, ToznListItemCommon* AObject, int32_t AIdent)
{
    try {
        TCommonDetailFrame::CreateProgress(QStringLiteral("TDetail038Frame"), AOwner);
        TCurrentDatabase* db = CurrentDatabase();
        auto* frame = db ? new TDetail038Frame(AOwner, *db->GetDefaultConnection(), AObject, AIdent) : nullptr;
        TCommonDetailFrame::ShowProgress(nullptr, -1);
        return frame;
    } catch (const std::exception& e) {
        TCommonDetailFrame::ShowProgress(nullptr, -1);
        host::ShowWarning(QString::fromUtf8(e.what()));
        return nullptr;
    }
}

int32_t ShowFiderHHResults(TFiderHH* AFider, int32_t AIdent)
{
    try {
        TLVResultBalancesFider balances(AFider, AIdent);
        return balances.ShowModal();
    } catch (const std::exception& e) {
        host::ShowWarning(QString::fromUtf8(e.what()));
        return 0;
    }
}

void BuildFiderHHResults(TFiderHH* AFider, TObject* AExport)
{
    // A wrong export object is the host's error: the invalid-cast error goes back to it.
    TOExport* target = HostCast<TOExport>(AExport);
    try {
        TLVResultBalancesFider balances(AFider);
        balances.Build(*target);
    } catch (const EDatabaseError& e) {
        host::ShowWarning(e.Text());
    }
}

int32_t GetLVMiddleRegim(TWCalcHHParams* AParams)
{
    return AParams ? runRegime<TfrmCalcParamsMiddle>(AParams, &LoadWCalcParamsHH, &SaveWCalcParamsHH) : host::mrCancel;
}

int32_t GetLVMaxRegim(TWCalcTmaxHHParams* AParams)
{
    return AParams ? runRegime<TfrmCalcParamsMax>(AParams, &LoadTmaxCalcParamsHH, &SaveTmaxCalcParamsHH)
                   : host::mrCancel;
}
