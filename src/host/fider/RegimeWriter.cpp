#include "host/fider/RegimeWriter.h"

#include <QDateTime>
#include <cmath>

#include "host/Connection.h"
#include "host/NumericHelpers.h"
#include "host/fider/ProfileRunFigures.h"
#include "host/fider/RegimeSql.h"

namespace fider {

namespace {
QVariant num(double v) { return std::isfinite(v) ? QVariant(v) : QVariant(); }

// "insert into "T" ("a", "b") values (%1, %2)" of a column list.
template <size_t N> QString insertRow(const char* table, const char* const (&columns)[N])
{
    QStringList names, values;
    for (size_t c = 0; c < N; ++c) {
        names << QStringLiteral("\"%1\"").arg(QString::fromLatin1(columns[c]));
        values << QLatin1Char('%') + QString::number(c + 1);
    }
    return QStringLiteral("insert into \"%1\" (%2) values (%3)")
        .arg(QString::fromLatin1(table), names.join(QStringLiteral(", ")), values.join(QStringLiteral(", ")));
}

// The SQL types of a column list: integers first, then doubles.
QStringList types(size_t count, int integers)
{
    QStringList t;
    for (size_t c = 0; c < count; ++c)
        t << (static_cast<int>(c) < integers ? QStringLiteral("integer") : QStringLiteral("double precision"));
    return t;
}

template <size_t N>
std::unique_ptr<TBlockStatement> inserter(ToznFDConnection& c, const char* table, const char* const (&columns)[N],
                                          int integers, int rows)
{
    return std::make_unique<TBlockStatement>(c, insertRow(table, columns), types(N, integers), rows);
}

// Rows of one statement: many for the element rows, fewer for the wide ones.
constexpr int kRunsPerStatement = 8, kBlocksPerStatement = 16, kElementsPerStatement = 16, kDeletesPerStatement = 16;
}  // namespace

TBlockStatement::TBlockStatement(ToznFDConnection& connection, const QString& rowStatement, const QStringList& types,
                                 int rowsPerStatement)
    : connection_(connection), rowStatement_(rowStatement), types_(types), statements_(rowsPerStatement)
{
}

TBlockStatement::~TBlockStatement() = default;

TFDQuery& TBlockStatement::Statement(int rows)
{
    std::unique_ptr<TFDQuery>& q = statements_[rows - 1];
    if (q)
        return *q;
    // One row: the row statement with "?" for its values. More: execute block (p0_0 <type> = ?, …) as begin
    // <row statement with :p0_0, …>; … end.
    QStringList parameters, body;
    for (int r = 0; r < rows; ++r) {
        QString statement = rowStatement_;
        for (int c = 0; c < types_.size(); ++c) {
            const QString name = QStringLiteral("p%1_%2").arg(r).arg(c);
            statement = statement.arg(rows == 1 ? QStringLiteral("?") : QLatin1Char(':') + name);
            parameters << name + QStringLiteral(" ") + types_[c] + QStringLiteral(" = ?");
        }
        body << statement;
    }
    q = connection_.NewQuery();
    q->SetSQLText(rows == 1 ? body.front()
                            : QStringLiteral("execute block (%1) as begin %2; end")
                                  .arg(parameters.join(QStringLiteral(", ")), body.join(QStringLiteral("; "))));
    return *q;
}

void TBlockStatement::Add(std::initializer_list<QVariant> row) { buffered_.insert(buffered_.end(), row); }

void TBlockStatement::Add(const std::vector<QVariant>& row)
{
    buffered_.insert(buffered_.end(), row.begin(), row.end());
}

int TBlockStatement::Flush()
{
    const int width = static_cast<int>(types_.size());
    const int rows = static_cast<int>(buffered_.size()) / width;
    for (int r = 0; r < rows;) {
        const int n = std::min(rows - r, static_cast<int>(statements_.size()));
        TFDQuery& q = Statement(n);
        for (int i = 0; i < n * width; ++i)
            q.ParamByIndex(i, buffered_[r * width + i]);
        q.ExecSQL();
        r += n;
    }
    buffered_.clear();
    return rows;
}

TRegimeWriter::TRegimeWriter(ToznFDConnection& connection, int sampleIdent, int calcType)
    : connection_(connection), sampleIdent_(sampleIdent), calcType_(calcType)
{
    using namespace RegimeSql;
    runs_ = inserter(connection_, "LVResults", kRunColumns, kRunIntegers, kRunsPerStatement);
    pBlocks_ = inserter(connection_, "LVPResultsAdd", kPBlockColumns, kPBlockIntegers, kBlocksPerStatement);
    wBlocks_ = inserter(connection_, "LVWResultsAdd", kWBlockColumns, kWBlockIntegers, kBlocksPerStatement);
    nodes_ = inserter(connection_, "LVPResultsN", kNodeColumns, kElementIntegers, kElementsPerStatement);
    sections_ = inserter(connection_, "LVPResultsL", kSectionColumns, kElementIntegers, kElementsPerStatement);
    QStringList profileTypes = types(std::size(kProfileRunColumns), kProfileRunIntegers);
    profileTypes[kProfileRunIntegers] = QStringLiteral("timestamp");
    profileRuns_ = std::make_unique<TBlockStatement>(connection_, insertRow("LVProfileRuns", kProfileRunColumns),
                                                     profileTypes, kRunsPerStatement);
    deleteFormer_ = std::make_unique<TBlockStatement>(connection_, QString::fromUtf8(kDeleteFormerRuns), types(3, 3),
                                                      kDeletesPerStatement);
    auto prepare = [&](std::unique_ptr<TFDQuery>& query, const char* sql) {
        query = connection_.NewQuery();
        query->SetSQLText(QString::fromUtf8(sql));
    };
    prepare(savepoint_, kSavepoint);
    prepare(release_, kReleaseSavepoint);
    prepare(undo_, kUndoSavepoint);
}

TRegimeWriter::~TRegimeWriter() = default;

int TRegimeWriter::NextIdent()
{
    // Keys are taken from the generator in blocks, so that a run costs no statement of its own.
    constexpr int kBlock = 500;
    if (nextIdent_ > lastIdent_) {
        if (!reserve_) {
            reserve_ = connection_.NewQuery();
            reserve_->SetSQLText(QString::fromUtf8(RegimeSql::kReserveIdents).arg(kBlock));
        }
        reserve_->Open();
        lastIdent_ = reserve_->Value(0).toInt();
        nextIdent_ = lastIdent_ - kBlock + 1;
    }
    return nextIdent_++;
}

int TRegimeWriter::Add(const TFiderHHInfo& fider, const TCalcWInfoHHCommon& run)
{
    const int ident = NextIdent();
    pending_.push_back({&fider, &run, ident});
    return ident;
}

QStringList TRegimeWriter::Write()
{
    std::vector<Pending> group;
    group.swap(pending_);
    QStringList errors;
    for (size_t i = 0; i < group.size(); ++i)
        errors << QString();
    if (group.empty())
        return errors;
    if (!TryGroup(group)) {
        // Something of the group was refused: each feeder is written on its own, so that only the one
        // at fault stays unwritten. Rows another user changed or holds are tried again in a fresh
        // transaction (what is written so far is committed first, which also frees what the other waits
        // for); the fresh snapshot sees the other user's run, which then goes as a former one.
        for (size_t i = 0; i < group.size(); ++i)
            for (int attempt = 1;; ++attempt) {
                if (TryGroup({group[i]}))
                    break;
                if (!lastConflict_ || attempt == kWriteAttempts) {
                    errors[static_cast<int>(i)] = lastError_;
                    break;
                }
                Commit();
            }
    }
    if (sinceCommit_ >= 20000)
        Commit();
    return errors;
}

bool TRegimeWriter::TryGroup(const std::vector<Pending>& group)
{
    // A savepoint around the group: a failure takes back all of it, deletions of former runs included.
    savepoint_->ExecSQL();
    try {
        WriteGroup(group);
        release_->ExecSQL();
        return true;
    } catch (const EDatabaseError& e) {
        // Nothing more can be written when the database is gone or full: the group is taken back, so that
        // what was written before it can still be committed, and the batch stops and says what it stored.
        if (IsFatal(e)) {
            ClearBuffers();
            try {
                undo_->ExecSQL();
                release_->ExecSQL();
            } catch (const EDatabaseError&) {
            }
            throw;
        }
        lastError_ = e.Text();
        lastConflict_ = IsConflict(e) && !dynamic_cast<const EStopped*>(&e);
        ClearBuffers();
        undo_->ExecSQL();
        release_->ExecSQL();
        return false;
    }
}

void TRegimeWriter::WriteGroup(const std::vector<Pending>& group)
{
    for (const Pending& p : group) {
        deleteFormer_->Add({p.fider->Guid, sampleIdent_, calcType_});
        Buffer(p);
    }
    deleteFormer_->Flush();
    const int rows = runs_->Flush() + pBlocks_->Flush() + wBlocks_->Flush() + nodes_->Flush() + sections_->Flush() +
                     profileRuns_->Flush();
    rows_ += rows;
    sinceCommit_ += rows;
}

void TRegimeWriter::ClearBuffers()
{
    for (TBlockStatement* b : {runs_.get(), pBlocks_.get(), wBlocks_.get(), nodes_.get(), sections_.get(),
                               deleteFormer_.get(), profileRuns_.get()})
        b->Clear();
}

void TRegimeWriter::Buffer(const Pending& p)
{
    const TFiderHHInfo& f = *p.fider;
    const TCalcWInfoHHCommon& run = *p.run;
    const TRegimeSettings& s = run.Settings;
    const TFiderFigures& g = run.Figures;
    const int ident = p.ident;
    runs_->Add({ident,
                f.Guid,
                sampleIdent_,
                calcType_,
                static_cast<int>(std::lround(g.T)),
                static_cast<int>(s.Regime),
                static_cast<int>(s.Mode),
                num(g.U[0]),
                num(g.U[1]),
                num(g.U[2]),
                num(g.I[0]),
                num(g.I[1]),
                num(g.I[2]),
                num(g.U2[0]),
                num(g.U2[1]),
                num(g.U2[2]),
                num(g.CosFi[0]),
                num(g.CosFi[1]),
                num(g.CosFi[2]),
                num(g.Imax[0]),
                num(g.Imax[1]),
                num(g.Imax[2]),
                num(g.Kdp),
                num(g.Krazv),
                num(g.Lm),
                num(g.L23),
                num(g.L1),
                num(g.HeadEndLength),
                num(g.HeadEndSize),
                num(g.Temperature),
                num(g.dPdop),
                num(g.dWdop),
                num(g.SqrKfg),
                num(g.Kzap),
                num(g.Tau),
                num(g.Tmax)});
    for (const TBalanceBlock& b : run.Blocks) {
        pBlocks_->Add({ident,        b.Res,        b.Balance,        b.NAbonents,  b.NLineP,
                       b.NLineP_off, b.NLineC,     b.NLineC_off,     num(b.Pcalc), num(b.Pfakt),
                       num(b.Pgen),  num(b.Qcalc), num(b.Qfakt),     num(b.Qgen),  num(b.dP),
                       num(b.dQ),    num(b.LsumP), num(b.LsumP_off), num(b.LsumC), num(b.LsumC_off)});
        wBlocks_->Add({ident, b.Res, b.Balance, num(b.Wacalc), num(b.Wafakt), num(b.Wa_gen), num(b.Wrcalc),
                       num(b.Wrfakt), num(b.Wr_gen), num(b.dWa), num(b.dWr)});
    }
    if (const TProfileRunFigures* pr = run.Profile.get())
        profileRuns_->Add({ident, pr->StepMinutes, pr->Steps, pr->NProfile, pr->NHead, pr->NTypical, pr->NFlat,
                           pr->NNoLoad, pr->HeadMeter ? 1 : 0,
                           QDateTime::fromSecsSinceEpoch(pr->PeakMinute * 60, Qt::UTC), num(pr->Umin), num(pr->UOut),
                           num(pr->SqrKfg), num(pr->Tmax), num(pr->TauRel), num(pr->dWa), num(pr->dWaMiddle),
                           num(pr->dWaMax)});
    // Elements of a feeder without a scheme have no rows of their own to refer to.
    if (f.Equivalent)
        return;
    for (size_t pos = 1; pos < run.Power.Nodes.size(); ++pos) {
        const auto& node = run.Power.Nodes[pos];
        if (!node.Energised)
            continue;
        double sum = 0, drop = EmptyFloat();
        int n = 0;
        for (int k = 0; k < 3; ++k)
            if (!std::isnan(node.U[k])) {
                sum += node.U[k];
                ++n;
                const double d = (s.U[k] - node.U[k]) / s.U[k] * 100;
                drop = std::isnan(drop) ? d : std::max(drop, d);
            }
        nodes_->Add({ident, f.Nodes[node.SchemeNode].Guid, num(n ? sum / n : EmptyFloat()), num(node.U[0]),
                     num(node.U[1]), num(node.U[2]), num(drop), num(node.Umin), num(node.UOut)});
        const auto& section = run.Power.Sections[pos];
        double largest = EmptyFloat();
        for (int k = 0; k < 3; ++k)
            if (!std::isnan(section.I[k]))
                largest = std::isnan(largest) ? section.I[k] : std::max(largest, section.I[k]);
        sections_->Add({ident, f.Lines[section.SchemeLine].Guid, num(largest), num(section.dU), num(section.dP),
                        num(section.I[0]), num(section.I[1]), num(section.I[2]), num(section.I[3]), num(section.dQ)});
    }
}

void TRegimeWriter::Commit()
{
    // Our connection's retaining commit starts a new transaction: the statements prepare again.
    connection_.CommitRetaining();
    sinceCommit_ = 0;
}

}  // namespace fider
