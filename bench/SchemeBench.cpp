// Bulk loading of LV schemes: a large substation's scheme workbook (40 feeders of 150 sections, a consumer
// at every third node) written, read and checked, loaded into a fresh database and exported back. The load
// is compared with plain inserts of the same number of rows; the same workbook then replaces what it loaded.
#include <benchmark/benchmark.h>

#include <QElapsedTimer>
#include <QTemporaryDir>

#include "BenchSupport.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/scheme/SchemeBookFile.h"
#include "host/scheme/SchemeStore.h"
#include "host/scheme/Substations.h"

namespace {
constexpr int kFeeders = 40, kSections = 150;

// Each feeder a main line of 50 spans with two branches of 50 spans each.
scheme::TSchemeBook LargeBook()
{
    scheme::TSchemeBook book;
    int row = 1, consumerRow = 1;
    for (int f = 1; f <= kFeeders; ++f) {
        const QString fider = QStringLiteral("Л-%1").arg(f);
        for (int s = 1; s <= kSections; ++s) {
            const int branch = (s - 1) / 50, span = (s - 1) % 50;
            const QString to = QStringLiteral("Опора %1/%2").arg(branch).arg(span + 1);
            const QString from = span > 0      ? QStringLiteral("Опора %1/%2").arg(branch).arg(span)
                                 : branch == 0 ? QStringLiteral("ТП")
                                               : QStringLiteral("Опора 0/%1").arg(10 * branch);
            scheme::TBookRow r;
            r.Row = ++row;
            r.Cells = QStringList{fider, from, to, "0.035", branch ? "А-35" : "А-70", "", "", "", "", "", ""};
            book.Sections.push_back(r);
            if (s % 3 == 0) {
                scheme::TBookRow c;
                c.Row = ++consumerRow;
                c.Cells = QStringList{
                    fider,  to, QStringLiteral("Дом %1").arg(s), QString(QChar('A' + (s / 3) % 3)), "10", "3200",
                    "0.95", ""};
                book.Consumers.push_back(c);
            }
        }
    }
    return book;
}
}  // namespace

static void BM_SchemeWorkbookOfALargeSubstation(benchmark::State& state)
{
    QTemporaryDir dir;
    const scheme::TSchemeBook book = LargeBook();
    double write = 0, read = 0, load = 0, replace = 0, exportMs = 0, raw = 0;
    int rows = 0;
    for (auto _ : state) {
        auto database = bench::FreshSchemaDatabase(QStringLiteral("scheme%1.fdb").arg(rows));
        ToznFDConnection& c = *database->GetDefaultConnection();
        QString error;
        const int tp = scheme::AddSubstation(c, QStringLiteral("ТП-1"), 0, error);
        c.StartTransaction();
        auto q = c.NewQuery();
        q->SetSQLText(
            QStringLiteral("insert into \"SamplesDates\" (\"Ident\", \"Name\", \"Period\") values (1, 'Год', 1)"));
        q->ExecSQL();
        c.Commit();
        QElapsedTimer timer;
        timer.start();
        const QString file = dir.filePath(QStringLiteral("tp.xlsx"));
        scheme::WriteSchemeBook(file, book, error);
        write = timer.restart();
        std::vector<scheme::TBookProblem> problems;
        const scheme::TSchemeBook loaded = scheme::ReadSchemeBookFile(file, problems);
        read = timer.restart();
        scheme::TImportSummary summary;
        if (!scheme::TSchemeStore(c).Import(loaded, {tp, 1, false}, summary, problems)) {
            state.SkipWithError(qPrintable(scheme::ProblemTexts(problems).join('\n')));
            return;
        }
        load = timer.restart();
        if (!scheme::TSchemeStore(c).Import(loaded, {tp, 1, true}, summary, problems)) {
            state.SkipWithError(qPrintable(scheme::ProblemTexts(problems).join('\n')));
            return;
        }
        replace = timer.restart();
        scheme::TSchemeBook back;
        scheme::TSchemeStore(c).Export(tp, 1, back, error);
        exportMs = timer.restart();
        rows = summary.Nodes + summary.Sections + 2 * summary.Loads;
        raw = bench::RawInsertRate(*database, rows);
    }
    state.counters["sections"] = kFeeders * kSections;
    state.counters["write_ms"] = write;
    state.counters["read_check_ms"] = read;
    state.counters["load_ms"] = load;
    state.counters["replace_ms"] = replace;
    state.counters["export_ms"] = exportMs;
    state.counters["load_rows_per_s"] = rows / (load / 1000.0);
    state.counters["raw_rows_per_s"] = raw;
}
BENCHMARK(BM_SchemeWorkbookOfALargeSubstation)->Unit(benchmark::kMillisecond)->Iterations(1);
