#include "host/Database.h"
#include "host/Tree.h"
#include "import/xlsLVZamerSocialDLL.h"
#include "import/xlsLVZamerTmaxDLL.h"
#include "import/xlsLVZamerWDLL.h"

namespace {
// The workbook forms list the objects of the network tree; with no tree there is nothing to fill.
bool treeCanOpen()
{
    TCurrentDatabase* db = CurrentDatabase();
    return SetDataBaseName() && db->GetTree()->GetCount() > 0;
}
}  // namespace

TxlsLVZamerWForm::TxlsLVZamerWForm(QWidget* owner) : TxlsZamerShablonForm(owner)
{
    setObjectName(QStringLiteral("xlsLVZamerWForm"));
    setWindowTitle(QStringLiteral("Замеры W сети 0,4 кВ"));
}

bool TxlsLVZamerWForm::CanOpen() { return treeCanOpen(); }

TxlsLVZamerTmaxForm::TxlsLVZamerTmaxForm(QWidget* owner) : TxlsZamerShablonForm(owner)
{
    setObjectName(QStringLiteral("xlsLVZamerTmaxForm"));
    setWindowTitle(QStringLiteral("Замеры Tmax сети 0,4 кВ"));
}

bool TxlsLVZamerTmaxForm::CanOpen() { return treeCanOpen(); }

TxlsLVZamerSocialForm::TxlsLVZamerSocialForm(QWidget* owner) : TxlsZamerShablonForm(owner)
{
    setObjectName(QStringLiteral("xlsLVZamerSocialForm"));
    setWindowTitle(QStringLiteral("Оценка потерь электроэнергии по обобщенной информации о схемах и нагрузках сети"));
}

bool TxlsLVZamerSocialForm::CanOpen() { return treeCanOpen(); }
