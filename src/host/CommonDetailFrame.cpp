#include "host/CommonDetailFrame.h"

#include "host/Progress.h"

void TCommonDetailFrame::CreateProgress(const QString& frameClass, QWidget* /*owner*/)
{
    host::progress().Start(frameClass, 0);
}

void TCommonDetailFrame::ShowProgress(TCommonDetailFrame* frame, int position, const QString& text)
{
    if (!frame && position < 0) {
        host::progress().Finish();
        return;
    }
    if (!text.isEmpty())
        host::progress().SetText(text);
    if (position >= 0)
        host::progress().SetPosition(position);
}
