// Command-line jobs of the normative method: the calculator for scripts and the headless batch.
#include <QCoreApplication>
#include <QFile>
#include <QTimer>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>

#include "app/CliArgs.h"
#include "app/CliJobs.h"
#include "app/CliOutput.h"
#include "host/Database.h"
#include "host/OutputFiles.h"
#include "host/Progress.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "normative/LVNormativMethodCalcUnit.h"
#include "normative/NormativeJson.h"

namespace cli {

namespace {
std::atomic<bool> g_interrupted{false};
void onInterrupt(int) { g_interrupted = true; }

}  // namespace

int CalcLines(QByteArray (*calculate)(const QByteArray&))
{
    std::string line;
    while (std::getline(std::cin, line)) {
        if (line.find_first_not_of(" \t\r") == std::string::npos)
            continue;
        const QByteArray out = calculate(QByteArray::fromStdString(line));
        std::fwrite(out.constData(), 1, out.size(), stdout);
        std::fputc('\n', stdout);
    }
    // A full disk or a closed pipe loses answers: the caller must know.
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        err(QStringLiteral("Не удалось записать результаты в стандартный вывод"));
        return 1;
    }
    return 0;
}

int NormativeBatch(const QStringList& args)
{
    const char* const usage =
        "Использование: ozn3 normative --db CONNECTION --node GUID --level CODE --period IDENT [--log FILE]";
    TArgs a;
    QString error;
    int node = 0, level = 0, period = 0;
    if (!a.Parse(args, 1, {{"--db", "--node", "--level", "--period", "--log"}, {}, {}, 0}, error) ||
        !a.Int(QStringLiteral("--node"), true, node, error) || !a.Int(QStringLiteral("--level"), true, level, error) ||
        !a.Int(QStringLiteral("--period"), true, period, error) || !a.Has(QStringLiteral("--db"))) {
        err((error.isEmpty() ? QStringLiteral("Укажите базу данных: --db CONNECTION") : error) + QLatin1Char('\n') +
            QString::fromUtf8(usage));
        return 2;
    }
    const QString connection = a.Value(QStringLiteral("--db"));
    if (TCalcThread::NodeTypeOfLevel(level) == 0) {
        err(QStringLiteral("Неверный уровень расчета %1 (1, 2, 3, 4, 6 или 7)").arg(level));
        return 2;
    }
    const TSamplePeriodInfo* info = nullptr;
    auto database = OpenWithPeriod(connection, period, info);
    if (!database)
        return 1;
    if (!database->GetTree()->Find(node)) {
        err(QStringLiteral("Не найден элемент сети %1").arg(node));
        return 1;
    }

    // The log is written as the run goes, so that a stopped or killed run keeps what it saved.
    host::TLogFile logFile;
    const QString logPath = a.Value(QStringLiteral("--log"));
    QString logError;
    if (!logPath.isEmpty() && !logFile.Open(logPath, logError)) {
        err(logError);
        return 1;
    }
    host::TerminalProgress bar;
    int logged = 0;
    int exitCode = 0;
    TCalcEvents events;
    events.Status = [&](const QString& text) { bar.SetText(text); };
    events.Count = [&](int n) { bar.Start(QStringLiteral("Расчет"), n); };
    events.Log = [&](const QString& element, const QString& message) {
        logFile.Line(element + QStringLiteral(" - ") + message);
        bar.SetText(element);
        bar.SetPosition(++logged);
    };
    events.Finish = [&](int, const QString& failure) {
        bar.Finish();
        if (!logFile.Ok()) {
            err(QStringLiteral("Не удалось записать журнал %1").arg(logPath));
            exitCode = 1;
        }
        if (!failure.isEmpty()) {
            err(QStringLiteral("Ошибка при выполнении расчета\n") + failure);
            exitCode = 1;
        }
        std::printf("%s\n", QStringLiteral("Обработано %1 элементов сети").arg(logged).toUtf8().constData());
        QCoreApplication::exit(exitCode);
    };
    QObject context;
    TCalcThread thread(&context, events, database.get(), database->GetTree(), node, level, *info);
    // Ctrl-C stops the batch before the next element; what is saved stays saved.
    std::signal(SIGINT, onInterrupt);
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, [&] {
        if (g_interrupted)
            thread.requestInterruption();
    });
    watch.start(100);
    thread.start();
    const int code = QCoreApplication::exec();
    thread.wait();
    std::signal(SIGINT, SIG_DFL);
    if (g_interrupted) {
        err(QStringLiteral("Расчет остановлен; сохраненное остается в базе"));
        return 130;
    }
    return code;
}

}  // namespace cli
