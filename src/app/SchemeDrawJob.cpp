// The drawing of LV feeders without a window: the command's words are checked here, the picture or the PDF is
// painted by the drawing library, which needs Qt Gui (offscreen when there is no display) but no widgets.
#include <QFile>
#include <QFileInfo>

#include "app/CliArgs.h"
#include "app/CliJobs.h"
#include "app/CliOutput.h"
#include "app/RuntimeLibraries.h"
#include "feeders/SchemeDrawMain.h"
#include "feeders/SchemeDrawing038.h"

namespace cli {

namespace {
const char* const kDrawUsage = "Использование: ozn3 scheme draw --db CONNECTION --node GUID [--sample IDENT] "
                               "[--color voltage|voltage-a|voltage-b|voltage-c|loading|losses] FILE.png|FILE.pdf";

int usage(const QString& error)
{
    err((error.isEmpty() ? QString() : error + QLatin1Char('\n')) + QString::fromUtf8(kDrawUsage));
    return 2;
}
}  // namespace

int SchemeDraw(int argc, char** argv, const QStringList& args)
{
    TArgs a;
    QString error;
    int node = 0, sample = 0;
    if (!a.Parse(args, 2, {{"--db", "--node", "--sample", "--color"}, {}, {}, 1}, error))
        return usage(error);
    if (a.PositionalCount() != 1)
        return usage(QStringLiteral("Не указан файл рисунка (.png или .pdf)"));
    if (!a.Has(QStringLiteral("--db")))
        return usage(QStringLiteral("Не указана база данных (--db)"));
    if (!a.Int(QStringLiteral("--node"), true, node, error) || !a.Int(QStringLiteral("--sample"), false, sample, error))
        return usage(error);
    feeders::TDrawColour colour = feeders::TDrawColour::Voltage;
    if (a.Has(QStringLiteral("--color"))) {
        const auto chosen = feeders::DrawColourFromWord(a.Value(QStringLiteral("--color")));
        if (!chosen)
            return usage(QStringLiteral("Неизвестная раскраска: %1").arg(a.Value(QStringLiteral("--color"))));
        colour = *chosen;
    }
    const QString file = a.Positional(0);
    const QString suffix = QFileInfo(file).suffix().toLower();
    if (suffix != QLatin1String("png") && suffix != QLatin1String("pdf"))
        return usage(QStringLiteral("Файл рисунка должен быть .png или .pdf: %1").arg(file));

    const auto entry =
        LibraryEntry<feeders::DrawSchemeMain>("libozn32drawing.so", "OZN3_DRAWING", feeders::kDrawSchemeEntry, error);
    if (!entry) {
        err(error);
        return 1;
    }
    // Painting needs the GUI module's fonts, not a screen.
    if (!HasDisplay())
        qputenv("QT_QPA_PLATFORM", "offscreen");
    return entry(argc, argv, a.Value(QStringLiteral("--db")).toUtf8().constData(), node, sample,
                 static_cast<int>(colour), QFile::encodeName(file).constData());
}

}  // namespace cli
