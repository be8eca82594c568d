// The drawing of LV feeders without a window: a PNG picture or a PDF document, coloured by a result of a stored
// regime run.
#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include "app/CliArgs.h"
#include "app/CliJobs.h"
#include "app/CliOutput.h"
#include "feeders/Detail038Data.h"
#include "feeders/SchemePainter038.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "host/fider/RegimeBatch.h"

namespace cli {

namespace {
const char* const kDrawUsage = "Использование: ozn3 scheme draw --db CONNECTION --node GUID [--sample IDENT] "
                               "[--color voltage|voltage-a|voltage-b|voltage-c|loading|losses] FILE.png|FILE.pdf";

int usage(const QString& error)
{
    err((error.isEmpty() ? QString() : error + QLatin1Char('\n')) + QString::fromUtf8(kDrawUsage));
    return 2;
}

// "FILE — Л-1 Садовая.png" for one feeder of many.
QString pictureOf(const QString& file, const QString& feeder)
{
    const QFileInfo info(file);
    QString name = feeder.simplified();
    name.replace(QRegularExpression(QStringLiteral(R"([\\/:*?"<>|])")), QStringLiteral("_"));
    return info.dir().filePath(info.completeBaseName() + QStringLiteral(" — ") + name + QLatin1Char('.') +
                               info.suffix());
}
}  // namespace

int SchemeDraw(const QStringList& args)
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

    auto database = TfdbDatabase::Open(a.Value(QStringLiteral("--db")), error);
    if (!database) {
        err(error);
        return 1;
    }
    if (sample && !database->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(sample)) {
        err(QStringLiteral("Интервал %1 не найден в базе данных").arg(sample));
        return 1;
    }
    ToznListItemCommon* item = database->GetTree()->Find(node);
    if (!item || (item->GetNodeType() != NodeType::LVFiders && item->GetNodeType() != NodeType::Nodes)) {
        err(QStringLiteral("Узел %1 не линия 0,4 кВ и не ТП").arg(node));
        return 1;
    }
    const QList<int> fiders =
        item->GetNodeType() == NodeType::LVFiders ? QList<int>{node} : fider::LVFidersUnder(*database->GetTree(), node);
    if (fiders.isEmpty()) {
        err(QStringLiteral("В ТП «%1» нет линий 0,4 кВ").arg(item->GetText()));
        return 1;
    }
    ToznFDConnection& connection = *database->GetDefaultConnection();
    std::vector<feeders::TSchemeDrawing038> drawings;
    for (int guid : fiders) {
        const Detail038::FeederState state = Detail038::Read(connection, guid, 0, sample);
        if (!state.Found)
            continue;
        drawings.push_back(feeders::TSchemeDrawing038::Build(state, colour));
        for (const QString& problem : drawings.back().Problems)
            err(QStringLiteral("%1: %2").arg(drawings.back().Title, problem));
        if (!drawings.back().HasRun)
            err(QStringLiteral("%1: %2").arg(drawings.back().Title, drawings.back().Subtitle));
    }
    const feeders::TPaintStyle style;
    if (suffix == QLatin1String("pdf")) {
        if (!feeders::WriteDrawingPdf(drawings, file, style, error)) {
            err(error);
            return 1;
        }
        out(QStringLiteral("Записано: %1 (страниц %2)").arg(file).arg(drawings.size()));
        return 0;
    }
    for (const feeders::TSchemeDrawing038& d : drawings) {
        const QString picture = drawings.size() == 1 ? file : pictureOf(file, d.Title);
        if (!feeders::WriteDrawingPng(d, picture, style, error)) {
            err(error);
            return 1;
        }
        out(QStringLiteral("Записано: %1 (узлов %2, участков %3)")
                .arg(picture)
                .arg(d.Nodes.size())
                .arg(d.Sections.size()));
    }
    return 0;
}

}  // namespace cli
