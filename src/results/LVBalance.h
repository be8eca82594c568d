#pragma once
// The balance of a feeder, or of a sum of feeders, from its stored balance blocks: one function per quantity,
// and every form, workbook and command shows these.
//   Прием               what came into the network at the head
//   Отдача              what left the utility's network into the parts of other owners: the consumption behind
//                       them and the load losses in them
//   Отпуск в сеть       Прием − Отдача
//   Полезный отпуск     the consumption of the consumers fed from the utility's own sections
//   Фактические потери  Отпуск − Полезный отпуск (given)
//   Фактический небаланс  Фактические потери − the load losses on the utility's balance
//   Нетехнические потери  Фактический небаланс − Допустимый небаланс, when positive, else 0
// Percentages are of Отпуск в сеть (given). So for every feeder and every sum: Прием = Отдача + Отпуск and
// Отпуск = Полезный отпуск + Фактические потери. The actual losses, the imbalance and the non-technical losses of
// a sum of results are the sums of the results' own (each result's worked out from its blocks).
#include "results/UnitLVResultsTree.h"

namespace results {

enum class Measure { Energy, Power };  // thousand kWh over the interval, or kW of the snapshot
enum class Part { Active, Reactive };
enum class Basis { Given, Calculated };  // consumption as metered, or as the regime calculated it

// A block field of a balance variant; 0 where the holder has blocks but none of the variant (zero, not unknown).
double BlockValue(const TLVResultCustom& r, int field, int variant);
double Receipt(const TLVResultCustom& r, Measure m, Part p = Part::Active);
// The consumption of the consumers behind the parts of other owners.
double OutflowConsumption(const TLVResultCustom& r, Measure m, Basis b, Part p = Part::Active);
double Outflow(const TLVResultCustom& r, Measure m, Basis b, Part p = Part::Active);
double Supply(const TLVResultCustom& r, Measure m, Basis b, Part p = Part::Active);
double Useful(const TLVResultCustom& r, Measure m, Basis b, Part p = Part::Active);
// Load losses in the sections of a balance variant (on, off or both).
double LoadLosses(const TLVResultCustom& r, Measure m, int variant, Part p = Part::Active);
// Empty when the useful supply was not metered.
double ActualLosses(const TLVResultCustom& r, Measure m, Part p = Part::Active);
double Imbalance(const TLVResultCustom& r, Measure m, Part p = Part::Active);
double AllowedImbalance(const TLVResultCustom& r, Measure m);
double NonTechnical(const TLVResultCustom& r, Measure m);
// A value in per cent of the given Отпуск в сеть (active); empty when that is empty or zero.
double ShareOfSupply(const TLVResultCustom& r, Measure m, double value);

}  // namespace results
