#include "app/CliJobs.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <cstdio>

#include "app/CliArgs.h"
#include "app/CliOutput.h"
#include "db/DemoGenerator.h"
#include "db/SchemaInstaller.h"
#include "feeders/StoredSamples.h"
#include "host/Connection.h"
#include "host/Database.h"
#include "host/DatabaseSummary.h"
#include "host/Progress.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "normative/StoredNormative.h"

namespace cli {

QString HelpText()
{
    return QStringLiteral(
               "ozn3 — потери электроэнергии в сетях 0,38 кВ (host application of ozn32lib)\n"
               "\n"
               "Usage:\n"
               "  ozn3 [--db CONNECTION]          open the main window on a database\n"
               "                                  (default: the embedded database %1)\n"
               "  ozn3 init-db PATH               create an empty database with every table\n"
               "  ozn3 demo-db PATH [--size small|large]\n"
               "                                  create (if missing) and fill a generated demo network;\n"
               "                                  small: about 200 substations, large: 20,000 substations\n"
               "                                  and 60,000 LV feeders over three years\n"
               "  ozn3 stats --db CONNECTION      print the network's counts per level\n"
               "  ozn3 calc normative             the normative loss model on JSON Lines (below)\n"
               "  ozn3 calc feeder-sample         the loss calculation of one LV feeder sample on JSON Lines (below)\n"
               "  ozn3 normative --db CONNECTION --node GUID --level CODE --period IDENT [--log FILE]\n"
               "                                  the batch normative calculation of every element of a level\n"
               "                                  under a node of the tree, for one period (a row of "
               "\"SamplesDates\");\n"
               "                                  levels: 1 АО энерго, 2 электрические сети, 3 РЭС, 4 центр питания,\n"
               "                                  6 фидер 6(10) кВ, 7 ТП. Ctrl-C stops before the next element,\n"
               "                                  keeping what was saved. The log has \"element - message\" lines.\n"
               "  ozn3 regime --db CONNECTION --node IDENT --sample IDENT (--middle | --max)\n"
               "               [--mode loads|currents|energy|profiles] [--calc-type N] [--kdp K] [--json]\n"
               "               [--log FILE] [--xlsx FILE]\n"
               "                                  the LV regime calculation of every LV feeder under a node of the\n"
               "                                  tree (a feeder, a substation, a 6-10 kV feeder, a district, the\n"
               "                                  utility) for an interval; the run replaces the feeders' former run\n"
               "                                  of the interval and calculation type (default 0). Each feeder's\n"
               "                                  values: its stored regime parameters of the interval, else its\n"
               "                                  measurement (\"LVWSamples\"), else the substation's voltages,\n"
               "                                  power factors, Kdp and temperature (\"LVWTPInfo\"), else 230 V,\n"
               "                                  20 °C, Kdp 1, the interval's hours and the settings' fill factor.\n"
               "                                  --mode (default: the stored mode, else loads): loads = the\n"
               "                                  consumers' energies; currents = scaled to the measured head\n"
               "                                  currents (the maximum ones with --max); energy = scaled to the\n"
               "                                  energy supplied (--middle only). A feeder without a scheme is\n"
               "                                  one section of its parameters with its load at the end.\n"
               "                                  profiles = every step of the interval from the consumers' metering\n"
               "                                  profiles (else the head meter's remainder, the load kind's typical\n"
               "                                  profile, a flat one), energies summed over the steps, the powers of\n"
               "                                  the step of greatest head power; Kdp 1 unless --kdp. It also gives\n"
               "                                  the losses by the mean-load and maximum-load methods for the same\n"
               "                                  consumers, per feeder (\"Profiles\" of --json) and summed over the\n"
               "                                  tree ({\"Comparison\": …} lines; --xlsx writes them as a workbook).\n"
               "                                  --json prints one line per feeder: nodes with three voltages (V),\n"
               "                                  sections with phase and neutral currents (A), dU (%), dP (kW),\n"
               "                                  the balance blocks and figures; a refused feeder as\n"
               "                                  {\"GUID\", \"Problems\"}. --log gets \"feeder (GUID) - problem\"\n"
               "                                  lines. Ctrl-C stops after the current feeder (exit 130).\n"
               "  ozn3 results --db CONNECTION --guid GUID [--calc-type N] --sample IDENT [--period IDENT]\n"
               "               (--json | --xlsx FILE)\n"
               "                                  the LV results summed over the hierarchy under an object for a\n"
               "                                  sample (a row of \"SamplesDates\"; the period kind defaults to the\n"
               "                                  sample's): one JSON line per node with Level, GUID, Parent, Text "
               "and\n"
               "                                  every grid field (null when empty), or the grid's table as .xlsx;\n"
               "                                  \"Не найден GUID\" and a failing exit when nothing is stored under "
               "it\n"
               "  ozn3 substation add --db CONNECTION --name NAME [--owner GUID]\n"
               "                                  adds a substation with a 10/0,4 kV transformer under a 6-10 kV\n"
               "                                  feeder (\"Fiders\"); in a database without any 6-10 kV feeder, one\n"
               "                                  chain of placeholder levels is made to hold it. Prints its GUID.\n"
               "  ozn3 scheme import FILE --db CONNECTION --node IDENT [--sample IDENT] [--replace]\n"
               "                                  loads a scheme workbook (sheets \"Участки\" and \"Абоненты\") into "
               "a\n"
               "                                  substation: the whole workbook is checked first and nothing is\n"
               "                                  stored on any problem; each problem is printed with its cell\n"
               "                                  (\"Участки!E12: ...\"). A new feeder name creates the LV feeder;\n"
               "                                  a feeder that already has a scheme is refused unless --replace,\n"
               "                                  which keeps the nodes whose names stay with their consumers'\n"
               "                                  data. With --sample the consumers' installed power, energy (kWh)\n"
               "                                  and cos φ are stored for that interval. One consumer per node.\n"
               "  ozn3 profiles import FILE --db CONNECTION --node GUID [--sample IDENT] [--replace]\n"
               "                                  loads metering profiles into a substation: a CSV text (\";\" or\n"
               "                                  \",\", decimal comma or point, UTF-8 or Windows-1251) or the first\n"
               "                                  sheet of an .xlsx workbook, one line per consumer and step with the\n"
               "                                  captions \"Линия;Узел;Дата и время;кВт·ч[;квар·ч]\" (node \"ТП\":\n"
               "                                  the feeder's head meter) or \"Счетчик;Дата и время;кВт·ч[;квар·ч]\"\n"
               "                                  (meters of the meter register); the time is the start of the step,\n"
               "                                  \"ДД.ММ.ГГГГ ЧЧ:ММ\" or ISO 8601; steps of 1 to 60 minutes. The\n"
               "                                  interval is --sample, else the shortest one that holds every step.\n"
               "                                  The whole file is checked first (unknown consumers, mixed steps,\n"
               "                                  gaps, repeated steps, negative values, steps outside the interval,\n"
               "                                  a clock change) and nothing is stored on any problem; each is\n"
               "                                  printed with its line. A consumer that already has a profile of\n"
               "                                  the interval is refused unless --replace.\n"
               "  ozn3 scheme export --db CONNECTION --node IDENT FILE [--sample IDENT]\n"
               "                                  writes the same workbook from the database for a substation or\n"
               "                                  one LV feeder, with the consumers' energies of the interval\n"
               "  ozn3 scheme draw --db CONNECTION --node GUID [--sample IDENT]\n"
               "               [--color voltage|voltage-a|voltage-b|voltage-c|loading|losses] FILE.png|FILE.pdf\n"
               "                                  the drawing of an LV feeder (or of every LV feeder of a\n"
               "                                  substation: one PDF page, or one picture \"FILE — feeder.png\",\n"
               "                                  per feeder) coloured by a result of its latest regime run (of\n"
               "                                  the interval given): the voltage's deviation from the nominal\n"
               "                                  (the worst phase, or one phase) with the ±10 % of GOST 32144,\n"
               "                                  the sections' largest phase current or their power losses.\n"
               "                                  Needs no display.\n"
               "  ozn3 conductors import FILE --db CONNECTION [--overwrite]\n"
               "  ozn3 conductors export FILE --db CONNECTION\n"
               "                                  the conductor catalogue as one sheet: \"Марка\", \"Сечение, мм²\",\n"
               "                                  \"r0, Ом/км\", \"x0, Ом/км\", \"Кабель\" (да/нет), \"Напряжение, "
               "кВ\";\n"
               "                                  a conductor of the same brand, cross-section and voltage is\n"
               "                                  updated, others added; the whole file is checked first. Of an\n"
               "                                  exported workbook only the rows the user changed are written; a\n"
               "                                  conductor changed in the database since the export is refused\n"
               "                                  unless --overwrite\n"
               "  ozn3 measured --db CONNECTION --node IDENT --year YYYY (--json | --xlsx FILE)\n"
               "                                  the losses measured in the feeder editor (\"LVPResultsA\") summed\n"
               "                                  over the hierarchy under an object for a year: each LV feeder's\n"
               "                                  main sample of the year (a feeder without one is not measured);\n"
               "                                  per node P, Wa, phase voltages (mean) and currents, cos φ per phase\n"
               "                                  weighted by U·I, dP, dW, both in per cent, and the feeders measured\n"
               "                                  and not. --json: one line per node in tree order (Level, GUID,\n"
               "                                  Parent, Text, P, Wa, UA..UC, IA..IC, CosFiA..CosFiC, dP, dW, dP_P,\n"
               "                                  dW_P, Measured, NotMeasured; null when empty); --xlsx: the workbook\n"
               "                                  with live sums.\n"
               "  ozn3 workbook write (w | tmax | social) --db CONNECTION --node IDENT --sample IDENT FILE\n"
               "               [--consumers | --tp-only] [--level CODE]\n"
               "                                  the workbook the form writes for an object of the tree and an\n"
               "                                  interval: the W or Tmax measurements of its substations with their\n"
               "                                  LV feeders (--consumers: with their consumers instead, --tp-only:\n"
               "                                  the substations alone), or the generalised data of the normative\n"
               "                                  method for the elements of a level (--level, default 5 ТП).\n"
               "  ozn3 workbook read (w | tmax | social) --db CONNECTION FILE [--save [--overwrite]]\n"
               "                                  reads such a workbook back (it names its object and interval):\n"
               "                                  prints each row the user changed with its values \"as written →\n"
               "                                  as read\", and every problem with its cell or row; with --save\n"
               "                                  stores the changed rows (the form's right 12, 13 or 14 is needed).\n"
               "                                  A row changed both in the workbook and in the database since the\n"
               "                                  workbook was written is a conflict: nothing is stored unless\n"
               "                                  --overwrite lets the workbook's rows win. Exit 1 on any problem,\n"
               "                                  with nothing stored.\n"
               "  ozn3 users --db CONNECTION      the database's users with their roles and rights\n"
               "  ozn3 users grant USER --db CONNECTION [--role reader|writer] [--right N ...] [--password PW]\n"
               "  ozn3 users revoke USER --db CONNECTION [--role reader|writer] [--right N ...]\n"
               "                                  reader reads every table, writer changes them too; the rights\n"
               "                                  of the forms: 12 замеры W, 13 замеры Tmax, 14 обобщенные данные,\n"
               "                                  0 только результаты нормативного метода. --password first creates\n"
               "                                  the user on a server. init-db makes its creator the owner with\n"
               "                                  rights 12, 13 and 14.\n"
               "  ozn3 --help                     this text\n"
               "\n"
               "CONNECTION is a database file (embedded engine, one process) or host[/port]:path on a\n"
               "Firebird server. The server user and password come from ISC_USER / ISC_PASSWORD.\n"
               "Without a display the window cannot open; the command then prints the counts per level.\n"
               "\n"
               "ozn3 calc normative reads one JSON object per line on standard input, the inputs of one network\n"
               "element: Wa, Wa_bus (thousand kWh), T (hours), Unom (0 = 400/230, 1 = 220/127), CosFi, F (mm²),\n"
               "NLines, dp, dn, kzap, the lengths in km Lma Lms Lmm L23a L23s L23m L23ia L23is L23im L1a L1s L1m\n"
               "L1ia L1is L1im, and Info. A missing field keeps its default (T 8760, CosFi and kzap from the\n"
               "settings, NLines 1, others not given); every value is checked as in the forms, so a value out of\n"
               "range becomes -1 (not given). Each line gets one JSON line with WaNet, Lm, L23, L1, Lekv, ku,\n"
               "k038, deltaWa, deltaWaPercent, CurrentDensity, TotalLength, AverageLength, Lengths (31 values)\n"
               "and Message, numbers in their shortest exact form (-1 = not calculated). A line that is not valid\n"
               "JSON, or has a field of the wrong type or an unknown field, gets {\"Error\": \"...\"} and the\n"
               "run goes on. Example:\n"
               "  echo '{\"Wa\":100,\"F\":50,\"dp\":0.5,\"dn\":0.1,\"Lma\":1}' | ozn3 calc normative\n"
               "\n"
               "ozn3 calc feeder-sample reads one JSON object per line: a fresh measurement of an LV feeder with\n"
               "the phase currents Ia Ib Ic (A), the head voltages Ua Ub Uc and far-point voltages U2a U2b U2c (V),\n"
               "CosFi, the conductor's Rf, Xf and the neutral's Rn (Ohm), Tmax (hours), Krazv and Knm; null or a\n"
               "missing field is empty. Each line gets P (kW), Wa (thousand kWh), tau (hours), Kdp, dU (%), Knm,\n"
               "KnmRef, KnmWarning, dPpct (%), dP (kW, three decimals), dW (thousand kWh), dWpct (%), Umean, U2mean\n"
               "and Krazv (0 or empty becomes 0.8), numbers in their shortest exact form; {\"Error\": \"Неверные\n"
               "данные\"} when a far-point voltage exceeds the head voltage of its phase; {\"Stopped\": true} when\n"
               "the mean current is 0. A Tmax of 0 gives a dWpct of null (division by zero). A value out of the\n"
               "editor's range (a negative current, voltage, resistance or coefficient, CosFi outside (0, 1], Tmax\n"
               "outside 0..8784 hours, a number too large to be finite) gets {\"Error\": \"...\"} with the reason.\n")
        .arg(DefaultDatabasePath());
}

std::unique_ptr<TfdbDatabase> OpenWithPeriod(const QString& connection, int period, const TSamplePeriodInfo*& info)
{
    QString error;
    auto database = TfdbDatabase::Open(connection, error);
    if (!database) {
        err(error);
        return nullptr;
    }
    info = database->GetSamplePeriods()->GetPSamplePeriodInfoByIdent(period);
    if (!info) {
        err(QStringLiteral("Не найден расчетный период %1").arg(period));
        return nullptr;
    }
    return database;
}

int InitDb(const QStringList& args)
{
    TArgs a;
    QString error;
    if (!a.Parse(args, 1, {{}, {}, {}, 1}, error) || a.PositionalCount() != 1) {
        err((error.isEmpty() ? QString() : error + QLatin1Char('\n')) +
            QStringLiteral("Укажите путь к файлу базы данных: ozn3 init-db PATH"));
        return 2;
    }
    if (!db::CreateDatabase(a.Positional(0), error)) {
        err(error);
        return 1;
    }
    out(QStringLiteral("База данных создана: %1").arg(a.Positional(0)));
    return 0;
}

namespace {
// A database of a server is filled where it is: made when it is missing, given the tables when it is empty.
// False with the reason when it cannot take the demo network.
bool PrepareServerDatabase(const DatabaseAddress& address, const QString& path, QString& error)
{
    std::unique_ptr<ToznFDConnection> connection;
    try {
        connection =
            std::make_unique<ToznFDConnection>(nullptr, address.attachName(), FirebirdUser(), FirebirdPassword());
    } catch (const EDatabaseError& e) {
        if (e.Kind() == host::TEngineErrorKind::Missing)
            return db::CreateDatabase(path, error);
        error = QStringLiteral("Не удалось открыть базу данных %1: %2").arg(path, e.Text());
        return false;
    }
    try {
        const auto [ours, others] = GuardedRead(*connection, [&] {
            auto q = connection->NewQuery();
            q->SetSQLText(QStringLiteral(
                "select sum(iif(rdb$relation_name in ('LVFiders', 'Nodes', 'SamplesDates'), 1, 0)), count(*) "
                "from rdb$relations where coalesce(rdb$system_flag, 0) = 0"));
            q->Open();
            return std::pair<int, int>(q->Value(0).toInt(), q->Value(1).toInt());
        });
        if (ours == 3)
            return true;
        if (others > 0) {
            error = QStringLiteral("База данных %1 не пуста, но таблиц ОЗН 3 в ней нет: демонстрационная сеть в неё не "
                                   "добавлена")
                        .arg(path);
            return false;
        }
        return db::InstallSchema(*connection, error);
    } catch (const EDatabaseError& e) {
        error = e.Text();
        return false;
    }
}
}  // namespace

int DemoDb(const QStringList& args)
{
    TArgs a;
    QString error;
    if (!a.Parse(args, 1, {{"--size"}, {}, {}, 1}, error) || a.PositionalCount() != 1) {
        err((error.isEmpty() ? QString() : error + QLatin1Char('\n')) +
            QStringLiteral("Укажите путь к файлу базы данных: ozn3 demo-db PATH [--size small|large]"));
        return 2;
    }
    const QString path = a.Positional(0);
    db::DemoSize size = db::DemoSize::Small;
    const QString sizeText = a.Value(QStringLiteral("--size"));
    if (a.Has(QStringLiteral("--size")) && !db::ParseDemoSize(sizeText, size)) {
        err(QStringLiteral("Неверный размер сети: %1 (small или large)").arg(sizeText));
        return 2;
    }
    DatabaseAddress address;
    if (!DatabaseAddress::parse(path, address, error)) {
        err(error);
        return 2;
    }
    // A database file is filled beside its place (a copy of it, or a new one) and moved there when complete,
    // so that an interrupted run leaves no half-filled network for the next one (or `make demo`) to take as
    // finished. A server database is filled where it is.
    const bool newFile = !address.isServer() && !QFileInfo::exists(address.path);
    const bool aside = !address.isServer();
    const QString target = aside ? db::PartialPath(address.path) : path;
    if (aside && !newFile && !QFileInfo(address.path).isFile()) {
        err(QStringLiteral("%1 — не файл базы данных").arg(address.path));
        return 1;
    }
    if (aside)
        QFile::remove(target);
    if (aside && !newFile && !QFile::copy(address.path, target)) {
        err(QStringLiteral("Не удалось скопировать базу данных %1 в %2").arg(address.path, target));
        return 1;
    }
    if ((newFile && !db::CreateDatabase(target, error)) ||
        (address.isServer() && !PrepareServerDatabase(address, path, error))) {
        err(error);
        return 1;
    }
    auto database = TfdbDatabase::Open(target, error);
    if (!database) {
        err(error);
        return 1;
    }
    ToznFDConnection& connection = *database->GetDefaultConnection();
    {
        auto q = connection.NewQuery();
        q->SetSQLText(QStringLiteral("select count(*) from \"AOEnergo\""));
        q->Open();
        if (q->Value(0).toInt() > 0) {
            err(QStringLiteral("В базе данных %1 уже есть сеть; демонстрационные данные не добавлены").arg(path));
            q.reset();
            database.reset();
            if (aside)
                QFile::remove(target);
            return 1;
        }
    }
    host::TerminalProgress bar;
    bar.Start(QStringLiteral("Демонстрационная сеть"), 0);
    QElapsedTimer timer;
    timer.start();
    try {
        const db::DemoCounts counts =
            db::DemoGenerator(connection).Generate(db::DemoShape::For(size), [&](int rows, const QString& stage) {
                bar.SetText(QStringLiteral("%1 (%2 строк)").arg(stage).arg(rows));
            });
        // The normative method's results are what its calculation gives for the generated inputs.
        bar.SetText(QStringLiteral("Нормативный метод: расчет"));
        RecalculateStoredNormative(connection);
        // The samples of the feeder editor hold what the editor calculates from their currents and voltages.
        feeders::TSamplesRecalculation samples;
        if (size == db::DemoSize::Small)
            samples = feeders::RecalculateStoredSamples(connection, [&](int done, int total) {
                bar.SetText(QStringLiteral("Расчет замеров линий: ТП %1 из %2").arg(done).arg(total));
            });
        bar.Finish();
        if (samples.Samples > 0)
            out(QStringLiteral("Замеры линий рассчитаны: %1, записаны изменившиеся: %2")
                    .arg(samples.Samples)
                    .arg(samples.Changed));
        out(QStringLiteral("Сформировано: ТП %1, линий 0,4 кВ %2, строк %3 за %4 с")
                .arg(counts.nodes)
                .arg(counts.lvFiders)
                .arg(counts.rows)
                .arg(timer.elapsed() / 1000.0, 0, 'f', 1));
        out(QStringLiteral("Графики нагрузки: %1 за %2 с").arg(counts.profiles).arg(counts.profileSeconds, 0, 'f', 1));
    } catch (const EDatabaseError& e) {
        bar.Finish();
        err(QStringLiteral("Ошибка при заполнении базы данных: %1").arg(e.Text()));
        database.reset();
        if (aside)
            QFile::remove(target);
        return 1;
    }
    database.reset();
    // rename() puts the whole file in place of the former one at once.
    if (aside && std::rename(QFile::encodeName(target).constData(), QFile::encodeName(address.path).constData()) != 0) {
        err(QStringLiteral("Не удалось переместить базу данных %1 на место %2").arg(target, address.path));
        return 1;
    }
    return 0;
}

int Stats(const QStringList& args)
{
    TArgs a;
    QString error;
    if (!a.Parse(args, 1, {{"--db"}, {}, {}, 0}, error)) {
        err(error + QStringLiteral("\nИспользование: ozn3 stats [--db CONNECTION]"));
        return 2;
    }
    return Stats(a.Has(QStringLiteral("--db")) ? a.Value(QStringLiteral("--db")) : DefaultDatabasePath());
}

int Stats(const QString& connection)
{
    QString error;
    auto database = TfdbDatabase::Open(connection, error);
    if (!database) {
        err(error);
        return 1;
    }
    for (const host::TDatabaseFact& fact : host::DatabaseSummary(*database))
        out(QStringLiteral("%1: %2").arg(fact.Caption, fact.Value));
    return 0;
}

}  // namespace cli
