#pragma once
#include <QString>

#include "feeders/DataMod.h"
#include "feeders/LVFiderSampleCalc.h"

class ToznFDConnection;
class TProvod038;

// The reports of the LV feeder editor: one line with its samples and year samples, and one substation with the
// main sample of each of its lines and their totals. Both are HTML documents shown in TfrmReportHTML.
//
// Outside the editor a report needs a TRep_Data opened on the substation:
//     TRep_Data data(nullptr, connection);
//     data.OpenFiders(nodeGuid);                      // the substation's GUID ("Nodes")
//     const QString html = SubstationReportHtml(data); // or LineReportHtml(data, lineGuid)
// The substation of a line is "LVFiders"."OwnerGUID" (FeedersSql::kNodeOfLVFider). OpenLineReport and
// OpenSubstationReport (ReportHTMLForm.h) on a connection do all of this and show the viewer.

// The report names: the object names of the viewers and the default names of their PDF files.
inline constexpr const char* kLineReportName = "OZN3_Report_Ln";
inline constexpr const char* kSubstationReportName = "OZN3_Report_TP";

// The window titles of the two reports.
QString LineReportTitle(const QString& lineName);
QString SubstationReportTitle(const QString& nodeName);

// The resistances of a line of the length given, as the feeder editor takes them: the phase conductor's
// R0 and X0 times the length; the neutral's R0 times the length, the phase conductor's own when it carries
// its neutral. Empty floats when the conductor or the length is unknown.
struct TFeederImpedance {
    double Rf, Xf, Rn;
};
TFeederImpedance FeederImpedance(const TProvod038& provods, const TRep_Data::FiderA* attributes);

// The editor's sample calculation of one sample of a line of the load kind given, with the line's design cos φ
// and impedance; the reference look-ups come from the data. The flags are those of the editor.
TLVFiderSampleCalc::Result CalculateSample(TRep_Data& data, int typeLoad, const TRep_Data::Sample& sample, double cosFi,
                                           const TFeederImpedance& z, TLVFiderSampleCalc::Flags& flags);
// A stored sample calculated by the editor's sample calculation as if its currents and voltages had just been
// entered: P from the currents, Wa, dP and dW from P; the sample's Tmax, Krazv and Knm are taken as stored
// (looked up or defaulted when unset, as the editor does). Nothing is written to the sample.
TLVFiderSampleCalc::Result CalculateStoredSample(TRep_Data& data, int fiderGuid, const TRep_Data::Sample& sample);
// Puts a calculation's values into the sample as the editor keeps them (dW only when calculated) and marks it
// changed; nothing when the calculation was not done.
void ApplySampleResult(TRep_Data::Sample& sample, const TLVFiderSampleCalc::Result& result);
// The main sample of a line: the latest one marked as main (of the year given, when one is); null when none is.
TRep_Data::Sample* MainSampleOf(TRep_Data& data, int fiderGuid, int year = 0);

// The report of a line: its substation, load kind, conductor, length and design cos φ; its samples (the main
// one in bold) with their calculated values; its year samples. Empty when the line is not in the data.
QString LineReportHtml(TRep_Data& data, int fiderGuid);
// The report of the substation: its transformer and load, each line's main sample with its calculated values
// ("нет замера" for a line without one) and the totals of the substation (TMeasuredAccumulator). The load in
// kV·A is Σ P / cos φ over the lines measured, i.e. Σ P divided by the power factor weighted by each line's
// apparent power, and the transformer's load is that in per cent of its rated power. The heading is the
// report's title unless one is given. With a year, the main samples of that year.
QString SubstationReportHtml(TRep_Data& data, const QString& title = {}, int year = 0);

// The same read from a connection alone, in a read transaction of its own when the connection has none open:
// empty when the line or the substation does not exist; the report's title in `title`. Database errors are
// thrown (EDatabaseError).
QString LineReportHtml(ToznFDConnection& connection, int fiderGuid, QString& title);
QString SubstationReportHtml(ToznFDConnection& connection, int nodeGuid, int year, QString& title);
