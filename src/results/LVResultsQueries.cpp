// Every SQL text of the LV results: the resource strings of the results unit.
#include "results/UnitLVResults.h"

namespace LVResultsSql {
// The Fiders test stands twice, once ahead of the Sections test.
const char* const sLevelOfGUID =
    " select first 1  case    when e.GUID=:GUID then 0    when p.GUID=:GUID then 1    when r.GUID=:GUID then 2 "
    "   when c.GUID=:GUID then 3    when f.GUID=:GUID then 5    when s.GUID=:GUID then 4    when f.GUID=:GUID then 5 "
    "   when nod.GUID=:GUID then 6    when lf.GUID=:GUID then 7  end as Level from \"AOEnergo\" e join pes p on "
    "p.\"OwnerGUID\"=e.guid join res r on r.\"OwnerGUID\"=p.guid join \"LVPResultsAdd\" pa on pa.res=r.guid join "
    "\"LVResults\" mv on (pa.\"Ident\"=mv.\"Ident\") join \"LVFiders\" lf on mv.guid=lf.guid join \"Nodes\" nod on "
    "nod.guid=lf.\"OwnerGUID\" join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" join \"Sections\" s on "
    "s.guid=f.\"OwnerGUID\" join \"Centers\" c on c.guid=s.\"OwnerGUID\" where     (e.GUID=:GUID or p.GUID=:GUID or "
    "r.GUID=:GUID or c.GUID=:GUID or s.GUID=:GUID or f.GUID=:GUID or nod.GUID=:GUID or lf.GUID=:GUID)";

// Walks the hierarchy by ownership only: every LV feeder under the object, with or without balance rows.
const char* const sDeleteResults =
    " delete from \"LVResults\" mv where mv.\"CalcType\"=:CalcType and mv.\"SampleIdent\"=:SampleIdent  and mv.guid "
    "in (     select  distinct lf.guid     from \"AOEnergo\" e     join pes p on p.\"OwnerGUID\"=e.guid     join res r "
    "on r.\"OwnerGUID\"=p.guid     join \"Centers\" c on c.\"OwnerGUID\"=r.guid     join \"Sections\" s on "
    "s.\"OwnerGUID\"=c.guid     join \"Fiders\" f on f.\"OwnerGUID\"=s.guid     join \"Nodes\" nod on "
    "nod.\"OwnerGUID\"=f.guid     join \"LVFiders\" lf on lf.\"OwnerGUID\"=nod.guid     where         (e.GUID=:GUID "
    "or p.GUID=:GUID or r.GUID=:GUID or c.GUID=:GUID or s.GUID=:GUID or f.GUID=:GUID or nod.GUID=:GUID or  "
    "lf.GUID=:GUID ) )";

// The same walk for results stored without a calculation type, which every reading query takes for type 0.
const char* const sDeleteResultsWithoutType =
    " delete from \"LVResults\" mv where mv.\"CalcType\" is null and mv.\"SampleIdent\"=:SampleIdent  and mv.guid "
    "in (     select  distinct lf.guid     from \"AOEnergo\" e     join pes p on p.\"OwnerGUID\"=e.guid     join res r "
    "on r.\"OwnerGUID\"=p.guid     join \"Centers\" c on c.\"OwnerGUID\"=r.guid     join \"Sections\" s on "
    "s.\"OwnerGUID\"=c.guid     join \"Fiders\" f on f.\"OwnerGUID\"=s.guid     join \"Nodes\" nod on "
    "nod.\"OwnerGUID\"=f.guid     join \"LVFiders\" lf on lf.\"OwnerGUID\"=nod.guid     where         (e.GUID=:GUID "
    "or p.GUID=:GUID or r.GUID=:GUID or c.GUID=:GUID or s.GUID=:GUID or f.GUID=:GUID or nod.GUID=:GUID or  "
    "lf.GUID=:GUID ) )";

const char* const sSamplesWithResults =
    "select sd.\"Ident\", sd.\"Name\", sd.\"Period\", sd.\"SampleDate1\", sd.\"SampleDate2\" from \"SamplesDates\" sd "
    "where sd.\"Ident\" in (select distinct mv.\"SampleIdent\" from \"LVResults\" mv "
    "where coalesce(mv.\"CalcType\", 0)=:CalcType) order by sd.\"SampleDate2\", sd.\"SampleDate1\" desc";

#define OZN3_PERIODS_WITH_RESULTS(SECTIONS)                                                                            \
    "select distinct sd.\"Period\", per.\"Name\" from \"AOEnergo\" e join pes p on p.\"OwnerGUID\"=e.guid "            \
    "join res r on r.\"OwnerGUID\"=p.guid join \"LVPResultsAdd\" pa on pa.res=r.guid "                                 \
    "join \"LVResults\" mv on pa.\"Ident\"=mv.\"Ident\" and coalesce(mv.\"CalcType\", 0)=:CalcType "                   \
    "join \"SamplesDates\" sd on sd.\"Ident\"=mv.\"SampleIdent\" join \"Periods\" per on per.\"Ident\"=sd.\"Period\" " \
    "join \"LVFiders\" lf on mv.guid=lf.guid join \"Nodes\" nod on nod.guid=lf.\"OwnerGUID\" "                         \
    "join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" join \"Sections\" s on s.guid=f.\"OwnerGUID\" "                     \
    "join \"Centers\" c on c.guid=s.\"OwnerGUID\" where sd.\"SampleDate1\">=:sd1 and sd.\"SampleDate2\"<=:sd2 and "    \
    "(e.GUID=:GUID or p.GUID=:GUID or r.GUID=:GUID or c.GUID=:GUID " SECTIONS                                          \
    "or f.GUID=:GUID or nod.GUID=:GUID or lf.GUID=:GUID) order by sd.\"Period\""
const char* const sPeriodsWithResults = OZN3_PERIODS_WITH_RESULTS("or s.GUID=:GUID ");
// The same without the Sections test: a Section's GUID finds no periods with it.
const char* const sPeriodsWithResultsNoSections = OZN3_PERIODS_WITH_RESULTS("");
#undef OZN3_PERIODS_WITH_RESULTS

// One row per result and balance block of every LV feeder under the object: the feeder's owners by the
// hierarchy, the district and enterprise of the balance row, the regime values and the block's values.
// The object is matched through the districts of the result's balance rows (a correlated test on the
// result's key, so that the large network is read in one pass).
#define OZN3_RESULTS(E_GUID, P_GUID, FILTER)                                                                           \
    "select " E_GUID " as \"eGuidRecord\", " P_GUID " as \"pGuid\", r.guid as \"rGuid\", c.guid as \"cGuid\", "        \
    "f.guid as \"fGuid\", nod.guid as \"nodGuid\", lf.guid as \"lfGuid\", s.guid as \"sGuid\", s.\"Unom\", "           \
    "lf.\"Unom\" as \"UnomLV\", "                                                                                      \
    "coalesce(t2.\"TypeTR\", ts.\"TypeTR\") || '-' || cast(round(coalesce(t2.\"Snom\", ts.\"Snom\"), 0) as integer) "  \
    "|| ' ' || coalesce(t2.\"AddStr\", ts.\"AddStr\", '') as \"TypeTR\", "                                             \
    "r.guid as \"rGuidRecord\", p.guid as \"pGuidRecord\", mv.\"Ident\" as \"MVIdent\", pa.\"Balance\", "              \
    "pa.res as \"RES\", mv.\"T\", mv.\"UA\", mv.\"UB\", mv.\"UC\", mv.\"IA\", mv.\"IB\", mv.\"IC\", "                  \
    "mv.\"ImaxA\", mv.\"ImaxB\", mv.\"ImaxC\", mv.\"CosFiA\", mv.\"CosFiB\", mv.\"CosFiC\", mv.\"Temperature\", "      \
    "mv.\"U2A\", mv.\"U2B\", mv.\"U2C\", mv.\"Lm\", mv.\"L23\", mv.\"L1\", mv.\"Kdp\", mv.\"sqrKfg\", "                \
    "mv.\"Krazv\", mv.\"HeadEndSize\", mv.\"HeadEndLength\", mv.\"dWdop\", mv.\"dPdop\", "                             \
    "pa.\"Pgen\", pa.\"Qgen\", pa.\"dP\", pa.\"dQ\", pa.\"Pcalc\", pa.\"Qcalc\", pa.\"Pfakt\", pa.\"Qfakt\", "         \
    "pa.\"NAbonents\", pa.\"LsumP\", pa.\"LsumC\", pa.\"NLineP\", pa.\"NLineC\", pa.\"LsumP_off\", "                   \
    "pa.\"LsumC_off\", pa.\"NLineP_off\", pa.\"NLineC_off\", "                                                         \
    "wa.\"Wa_gen\", wa.\"Wr_gen\", wa.\"dWa\", wa.\"dWr\", wa.\"Wacalc\", wa.\"Wrcalc\", wa.\"Wafakt\", "              \
    "wa.\"Wrfakt\" "                                                                                                   \
    "from \"SamplesDates\" sd join \"Periods\" per on per.\"Ident\"=sd.\"Period\" "                                    \
    "join \"LVResults\" mv on mv.\"SampleIdent\"=sd.\"Ident\" and coalesce(mv.\"CalcType\", 0)=:CalcType "             \
    "join \"LVFiders\" lf on lf.guid=mv.guid join \"Nodes\" nod on nod.guid=lf.\"OwnerGUID\" "                         \
    "join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" join \"Sections\" s on s.guid=f.\"OwnerGUID\" "                     \
    "join \"Centers\" c on c.guid=s.\"OwnerGUID\" "                                                                    \
    "join \"LVPResultsAdd\" pa on pa.\"Ident\"=mv.\"Ident\" "                                                          \
    "join res r on r.guid=pa.res join pes p on p.guid=r.\"OwnerGUID\" "                                                \
    "left join \"Transforms2\" t2 on t2.\"Ident\"=nod.\"Transf\" "                                                     \
    "left join \"TransformsSS\" ts on ts.\"Ident\"=nod.\"Transf\" "                                                    \
    "left join \"LVWResultsAdd\" wa on wa.\"Ident\"=pa.\"Ident\" and wa.\"Balance\"=pa.\"Balance\" and wa.res=pa.res " \
    "where sd.\"SampleDate1\">=:sd1 and sd.\"SampleDate2\"<=:sd2 and sd.\"Period\"=:Period "                           \
    "and exists (select 1 from \"LVPResultsAdd\" pb join res rb on rb.guid=pb.res "                                    \
    "join pes pb2 on pb2.guid=rb.\"OwnerGUID\" where pb.\"Ident\"=mv.\"Ident\" and " FILTER ") "                       \
    "order by lf.guid, mv.\"Ident\", pa.res, pa.\"Balance\""

const char* const sResultsFromAOEnergo = OZN3_RESULTS("p.\"OwnerGUID\"", "p.guid", "pb2.\"OwnerGUID\"=:GUID");
const char* const sResultsFromPES = OZN3_RESULTS("0", "p.guid", "pb2.guid=:GUID");
const char* const sResultsFromRES =
    OZN3_RESULTS("0", "0",
                 "(rb.guid=:GUID or ((c.GUID=:GUID or s.GUID=:GUID or f.GUID=:GUID or nod.GUID=:GUID or "
                 "lf.GUID=:GUID) and rb.guid=:rGUID))");
#undef OZN3_RESULTS

// The district that owns an object of levels 3 to 7.
const char* const sOwnerRES =
    "select first 1 r.guid from res r join \"Centers\" c on c.\"OwnerGUID\"=r.guid "
    "join \"Sections\" s on s.\"OwnerGUID\"=c.guid join \"Fiders\" f on f.\"OwnerGUID\"=s.guid "
    "left join \"Nodes\" nod on nod.\"OwnerGUID\"=f.guid left join \"LVFiders\" lf on lf.\"OwnerGUID\"=nod.guid "
    "where c.guid=:GUID or s.guid=:GUID or f.guid=:GUID or nod.guid=:GUID or lf.guid=:GUID";

// Distinct pairs of GUID and name at every level for the feeders with results, ordered from the top.
const char* const sNamesOfHierarchy =
    "select distinct e.guid as \"eGUID\", e.\"Name\" as \"eName\", p.guid as \"pGUID\", p.\"Name\" as \"pName\", "
    "r.guid as \"rGUID\", r.\"Name\" as \"rName\", c.guid as \"cGUID\", c.\"Name\" as \"cName\", "
    "s.guid as \"sGUID\", s.\"Name\" as \"sName\", f.guid as \"fGUID\", f.\"Name\" as \"fName\", "
    "nod.guid as \"nodGUID\", nod.\"Name\" as \"nodName\", lf.guid as \"lfGUID\", lf.\"Name\" as \"lfName\" "
    "from \"SamplesDates\" sd join \"LVResults\" mv on mv.\"SampleIdent\"=sd.\"Ident\" "
    "and coalesce(mv.\"CalcType\", 0)=:CalcType join \"LVPResultsAdd\" pa on pa.\"Ident\"=mv.\"Ident\" "
    "join res r on r.guid=pa.res join pes p on p.guid=r.\"OwnerGUID\" join \"AOEnergo\" e on e.guid=p.\"OwnerGUID\" "
    "join \"LVFiders\" lf on lf.guid=mv.guid join \"Nodes\" nod on nod.guid=lf.\"OwnerGUID\" "
    "join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" join \"Sections\" s on s.guid=f.\"OwnerGUID\" "
    "join \"Centers\" c on c.guid=s.\"OwnerGUID\" where sd.\"SampleDate1\">=:sd1 and sd.\"SampleDate2\"<=:sd2 "
    "order by 1, 3, 5, 7, 9, 11, 13, 15";

// The names of every object of the hierarchy from the utility down to the LV feeders, by GUID (a plain
// read of each table, much cheaper than the names of the feeders with results on a large network).
const char* const sObjectNames =
    "select guid, \"Name\" from \"AOEnergo\" union all select guid, \"Name\" from pes "
    "union all select guid, \"Name\" from res union all select guid, \"Name\" from \"Centers\" "
    "union all select guid, \"Name\" from \"Sections\" union all select guid, \"Name\" from \"Fiders\" "
    "union all select guid, \"Name\" from \"Nodes\" union all select guid, \"Name\" from \"LVFiders\"";

// Normative losses of energy by the generalised method, per element, for one sample.
const char* const sNormativeLosses =
    "select r.guid, r.\"deltaWa\" from \"LVWResultsB\" r where r.\"SampleIdent\"=:SampleIdent";

// The owners of an LV feeder, for the header of its results workbook.
// The nodes of an LV feeder's scheme (the substation it starts from is not one of them).
const char* const sLineNodeCount = "select count(*) as N from \"LVNodes\" where \"OwnerGUID\"=:GUID";

const char* const sFiderOwners =
    "select p.\"Name\" as \"PesName\", r.\"Name\" as \"ResName\", c.\"Name\" as \"CenterName\", "
    "s.\"Name\" as \"SectionName\", s.\"Unom\" as \"SectionUnom\", f.\"Name\" as \"FiderName\", "
    "nod.\"Name\" as \"NodeName\", lf.\"Name\" as \"LineName\", lf.\"Unom\" as \"LineUnom\" "
    "from \"LVFiders\" lf join \"Nodes\" nod on nod.guid=lf.\"OwnerGUID\" join \"Fiders\" f on "
    "f.guid=nod.\"OwnerGUID\" "
    "join \"Sections\" s on s.guid=f.\"OwnerGUID\" join \"Centers\" c on c.guid=s.\"OwnerGUID\" "
    "join res r on r.guid=c.\"OwnerGUID\" join pes p on p.guid=r.\"OwnerGUID\" where lf.guid=:GUID";

// The names of the districts, for the balance columns of a feeder.
const char* const sDistrictNames = "select guid, \"Name\" from \"RESData\"";
}  // namespace LVResultsSql
