// Command-line jobs of the normative method: the calculator for scripts and the headless batch.
#include <QCoreApplication>
#include <QFile>
#include <QTimer>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>

#include "app/CliJobs.h"
#include "app/CliOutput.h"
#include "host/Database.h"
#include "host/OutputFiles.h"
#include "host/Progress.h"
#include "host/SamplePeriods.h"
#include "host/Tree.h"
#include "normative/LVNormativMethodCalcUnit.h"
#include "normative/NormativeCalculator.h"

namespace cli {

namespace {
std::atomic<bool> g_interrupted{false};
void onInterrupt(int) { g_interrupted = true; }

bool intOption(const QStringList& args, const QString& name, int& value)
{
    bool ok = false;
    value = Option(args, name).toInt(&ok);
    if (!ok)
        err(QStringLiteral("Укажите %1 целым числом").arg(name));
    return ok;
}
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
    int node = 0, level = 0, period = 0;
    const QString connection = Option(args, QStringLiteral("--db"));
    if (connection.isEmpty()) {
        err(QStringLiteral("Укажите базу данных: --db CONNECTION"));
        return 2;
    }
    if (!intOption(args, QStringLiteral("--node"), node) || !intOption(args, QStringLiteral("--level"), level) ||
        !intOption(args, QStringLiteral("--period"), period))
        return 2;
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
    const QString logPath = Option(args, QStringLiteral("--log"));
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
