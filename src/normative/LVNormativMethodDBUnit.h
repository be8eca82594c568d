#pragma once
#include <QHash>
#include <array>
#include <memory>

#include "host/SamplePeriods.h"
#include "normative/LVNormativUnit.h"

class ToznFDConnection;
class TFDQuery;
class TAverageCrossSectionCommon;

// Stored inputs ("LVFidersB") and results ("LVWResultsB") of the normative method.
class TLVNormativeStore {
public:
    explicit TLVNormativeStore(ToznFDConnection& connection);
    ~TLVNormativeStore();

    // Loads an element's inputs for a period: its stored row with its scheme, or, when it has none,
    // the scheme of its nearest stored period with the energies empty. False when neither exists
    // (the sample is then cleared to its defaults).
    bool Load(TLVNormativSample0& sample, int guid, const TSamplePeriodInfo& period);
    // Reads every stored row of a period at once; later loads of that period come from memory.
    void Preload(const TSamplePeriodInfo& period);
    // Stores the results of the period and, when the element has no scheme yet or its scheme was changed
    // since loading, its inputs: under a key of its own (OwnSchemeKey), so that a scheme taken over from
    // another interval is copied rather than changed.
    // Without results the row keeps the inputs (energies, hours and the scheme) and no loss: what the method
    // refuses or could not compute is not stored as a result.
    void Save(TLVNormativSample0& sample, int sampleIdent, bool withResults = true);
    // Whether Save writes the inputs as well as the results, i.e. more than one statement.
    bool SavesInputs(const TLVNormativSample0& sample) const;
    void Delete(int guid, int sampleIdent);
    // Deletes an element's stored result of a period with its inputs: the scheme and its cross-section table go
    // too unless another stored result refers to them. Inside the caller's transaction.
    void DeleteWithInputs(int guid, int sampleIdent);
    // Whether the last Load found the period's own stored row (not only the scheme of another period).
    bool LoadedOwnRow() const { return loadedOwn_; }

    // The scheme key under which an element writes its inputs of an interval: the one it has when no other
    // stored result refers to it; otherwise a new key with a copy of the scheme's cross-section table, so that
    // the other intervals keep the inputs their results were calculated from (the caller then writes its inputs
    // over the copy). A new key for 0.
    static int OwnSchemeKey(ToznFDConnection& connection, int info, int sampleIdent, int guid);

    void LoadSections(int info, TAverageCrossSectionCommon& sections);
    void SaveSections(int info, const TAverageCrossSectionCommon& sections);

private:
    struct Scheme {
        double cosFi, unom, f, nLines, dp, kzap, dn;
        std::array<double, TLVNormativSample0::LengthCount> lengths;
    };
    struct Stored {
        int info;
        double wa, waBus, t;
    };
    struct StoredWithScheme {
        Stored row;
        Scheme scheme;
    };
    static Scheme ReadScheme(const TFDQuery& q);
    static Scheme SchemeOf(const TLVNormativSample0& sample);
    static bool SameScheme(const Scheme& a, const Scheme& b);
    void Apply(TLVNormativSample0& sample, int info, const Scheme& scheme, const Stored* stored);
    bool LoadFromMemory(TLVNormativSample0& sample, int guid);

    // A statement prepared once and reused for every element.
    TFDQuery& Prepared(std::unique_ptr<TFDQuery>& query, const char* sql);

    ToznFDConnection& connection_;
    std::unique_ptr<TFDQuery> saveScheme_, saveResult_;
    int preloaded_ = 0;  // the period held in memory
    QHash<int, StoredWithScheme> stored_;
    QHash<int, int> nearest_;  // element -> scheme of the nearest period
    QHash<int, Scheme> schemes_;
    // The sample last loaded or saved and its scheme then: Save writes the scheme only when it changed.
    const TLVNormativSample0* loaded_ = nullptr;
    bool loadedOwn_ = false;
    Scheme loadedScheme_{};
};
