// The drawing of LV feeders for the command line: a PNG picture or a PDF document, coloured by a result of a
// stored regime run. Runs in the drawing library, which brings Qt Gui to the command line and nothing more.
#include "feeders/SchemeDrawMain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QRegularExpression>
#include <cstdio>
#include <exception>
#include <type_traits>

#include "feeders/Detail038Data.h"
#include "feeders/SchemePainter038.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "host/fider/RegimeBatch.h"

namespace feeders {
namespace {
void out(const QString& text) { std::fputs((text + QLatin1Char('\n')).toUtf8().constData(), stdout); }
void err(const QString& text) { std::fputs((text + QLatin1Char('\n')).toUtf8().constData(), stderr); }

// "FILE — Л-1 Садовая.png" for one feeder of many.
QString pictureOf(const QString& file, const QString& feeder)
{
    const QFileInfo info(file);
    QString name = feeder.simplified();
    name.replace(QRegularExpression(QStringLiteral(R"([\\/:*?"<>|])")), QStringLiteral("_"));
    return info.dir().filePath(info.completeBaseName() + QStringLiteral(" — ") + name + QLatin1Char('.') +
                               info.suffix());
}

int drawScheme(const QString& connectionText, int node, int sample, TDrawColour colour, const QString& file)
{
    QString error;
    auto database = TfdbDatabase::Open(connectionText, error);
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
    std::vector<TSchemeDrawing038> drawings;
    for (int guid : fiders) {
        const Detail038::FeederState state = Detail038::Read(connection, guid, 0, sample);
        if (!state.Found)
            continue;
        drawings.push_back(TSchemeDrawing038::Build(state, colour));
        for (const QString& problem : drawings.back().Problems)
            err(QStringLiteral("%1: %2").arg(drawings.back().Title, problem));
        if (!drawings.back().HasRun)
            err(QStringLiteral("%1: %2").arg(drawings.back().Title, drawings.back().Subtitle));
    }
    const TPaintStyle style;
    if (QFileInfo(file).suffix().toLower() == QLatin1String("pdf")) {
        if (!WriteDrawingPdf(drawings, file, style, error)) {
            err(error);
            return 1;
        }
        out(QStringLiteral("Записано: %1 (страниц %2)").arg(file).arg(drawings.size()));
        return 0;
    }
    for (const TSchemeDrawing038& d : drawings) {
        const QString picture = drawings.size() == 1 ? file : pictureOf(file, d.Title);
        if (!WriteDrawingPng(d, picture, style, error)) {
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
}  // namespace
}  // namespace feeders

extern "C" __attribute__((visibility("default"))) int
ozn3_draw_scheme(int argc, char** argv, const char* connection, int node, int sample, int colour, const char* file)
{
    // A database error (a right the user lacks, a lost server) ends the command with its message.
    try {
        QGuiApplication app(argc, argv);
        if (colour < 0 || colour >= feeders::kDrawColourCount) {
            feeders::err(QStringLiteral("Неизвестная раскраска: %1").arg(colour));
            return 2;
        }
        return feeders::drawScheme(QString::fromUtf8(connection), node, sample,
                                   static_cast<feeders::TDrawColour>(colour), QFile::decodeName(file));
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}

static_assert(std::is_same_v<decltype(&ozn3_draw_scheme), feeders::DrawSchemeMain>,
              "the entry the command line looks up has the type it calls");
