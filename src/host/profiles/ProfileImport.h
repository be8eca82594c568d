#pragma once
// Reading metering profiles from a file as metering systems export them, and checking the whole file before
// anything is stored: one line per consumer and step, "Линия;Узел;Дата и время;кВт·ч[;квар·ч]" (or "Счетчик"
// instead of the first two), in a CSV text or the first sheet of an .xlsx workbook. Plain code without SQL or
// widgets: what the file may name comes in as TProfileTargets.
#include <QHash>
#include <QString>
#include <QStringList>
#include <string_view>
#include <vector>

#include "host/HostApi.h"
#include "host/profiles/ProfileSeries.h"

namespace profiles {

// A profile ready to store: whose it is, and the series.
struct OZN3HOST_API TStoredProfile {
    TProfileKind Kind = TProfileKind::Consumer;
    int Guid = 0;       // the consumer's node, the LV feeder (head meter) or the load kind
    int FiderGuid = 0;  // the LV feeder; 0 for a load kind
    TProfileSeries Series;
};

// An interval of the database ("SamplesDates").
struct OZN3HOST_API TProfileInterval {
    int Ident = 0;
    QString Name;
    TMinute Start = 0, End = 0;
    QString Text() const;  // «2025г.» (01.01.2025 00:00 – 01.01.2026 00:00)
};

// What a file may name under one substation: its LV feeders (and their head meters, node "ТП"), their
// consumers by the node names of the scheme workbook, and the meters of the meter register.
class OZN3HOST_API TProfileTargets {
public:
    struct Target {
        TProfileKind Kind;
        int Guid, FiderGuid;
        QString Title;  // "Л-1 Лесная, Дом 5" or "Л-1 Лесная, ТП"
    };
    void AddFider(int guid, const QString& name);
    // A node of a feeder already added; only consumer nodes take profiles.
    void AddNode(int fiderGuid, int nodeGuid, const QString& name, bool consumer);
    void AddMeter(const QString& name, int objectGuid);

    // The target of a feeder and node name; -1 with the reason.
    int Find(const QString& fider, const QString& node, QString& why) const;
    int FindMeter(const QString& meter, QString& why) const;
    const Target& At(int index) const { return targets_[index]; }
    int Count() const { return static_cast<int>(targets_.size()); }
    int TargetOf(int guid, TProfileKind kind) const;

private:
    std::vector<Target> targets_;
    QHash<QString, QList<int>> fiders_;             // name key -> feeder guids
    QHash<int, QHash<QString, QList<int>>> nodes_;  // feeder -> node name key -> guids (negative: not a consumer)
    QHash<QString, QList<int>> meters_;             // meter name key -> object guids
    QHash<int, QString> fiderNames_;
    QHash<qint64, int> byObject_;  // kind and guid -> target
};

// A problem of the file at a line (a CSV line, or a sheet row with the column at fault).
struct OZN3HOST_API TImportProblem {
    int Line = 0;
    int Column = 0;  // 1-based column of a sheet; 0 for the whole line
    QString Text;
};

struct OZN3HOST_API TProfileImport {
    std::vector<TStoredProfile> Profiles;  // ordered by feeder, kind and key
    TProfileInterval Interval;
    std::vector<TImportProblem> Problems;  // ordered by line; the first kMaxListedProblems
    int ProblemCount = 0;
    int Lines = 0;  // lines (rows) of readings
    // The first and last step of the file's known consumers; NoInterval when no interval holds them all.
    TMinute FirstStep = 0, LastStep = 0;
    bool NoInterval = false;
    QString Sheet;  // the sheet read, for a workbook
    bool Ok() const { return ProblemCount == 0; }
    // "строка 12: …" for a text file, "Лист1!C12: …" for a workbook.
    QStringList ProblemTexts() const;
};
inline constexpr int kMaxListedProblems = 1000;

// Reads and checks a file (.xlsx by its extension, otherwise text). `sampleIdent` picks the interval; 0 takes
// the shortest interval that holds every step of the file.
OZN3HOST_API TProfileImport ReadProfileFile(const QString& file, const TProfileTargets& targets,
                                            const std::vector<TProfileInterval>& intervals, int sampleIdent);
// The same for a text already in memory (UTF-8 or Windows-1251).
OZN3HOST_API TProfileImport ReadProfileText(const QByteArray& text, const TProfileTargets& targets,
                                            const std::vector<TProfileInterval>& intervals, int sampleIdent);

// The hour a clock moving to summer or winter time skips or repeats: 02:00 to 03:00 of the last Sunday of
// March (spring) or October (autumn), as the European rule and the former Russian one put it.
OZN3HOST_API bool InClockChangeHour(TMinute minute, bool spring);

}  // namespace profiles
