// The main results queries by the level where they start; part of the results unit's resource strings.
#include "results/UnitLVResults.h"

namespace LVResultsSql {

// The owners of each LV feeder with results, found through the balance rows of its districts.
#define OZN3_OWN(E_GUID, P_GUID, START, FILTER)                                                                        \
    "select own.*, mv.\"Ident\" as \"MVIdent\", pa.\"Balance\", pa.res as \"RES\", rd.guid as \"rGuidRecord\", "       \
    "pp.guid as \"pGuidRecord\", mv.\"T\", mv.\"UA\", mv.\"UB\", mv.\"UC\", mv.\"IA\", mv.\"IB\", mv.\"IC\", "         \
    "mv.\"ImaxA\", mv.\"ImaxB\", mv.\"ImaxC\", mv.\"CosFiA\", mv.\"CosFiB\", mv.\"CosFiC\", mv.\"Temperature\", "      \
    "mv.\"U2A\", mv.\"U2B\", mv.\"U2C\", mv.\"Lm\", mv.\"L23\", mv.\"L1\", mv.\"Kdp\", mv.\"sqrKfg\", mv.\"Krazv\", "  \
    "mv.\"HeadEndSize\", mv.\"HeadEndLength\", mv.\"dWdop\", mv.\"dPdop\", "                                           \
    "pa.\"Pgen\", pa.\"Qgen\", pa.\"dP\", pa.\"dQ\", pa.\"Pcalc\", pa.\"Qcalc\", pa.\"Pfakt\", pa.\"Qfakt\", "         \
    "pa.\"NAbonents\", pa.\"LsumP\", pa.\"LsumC\", pa.\"NLineP\", pa.\"NLineC\", pa.\"LsumP_off\", pa.\"LsumC_off\", " \
    "pa.\"NLineP_off\", pa.\"NLineC_off\", "                                                                           \
    "wa.\"Wa_gen\", wa.\"Wr_gen\", wa.\"dWa\", wa.\"dWr\", wa.\"Wacalc\", wa.\"Wrcalc\", wa.\"Wafakt\", "              \
    "wa.\"Wrfakt\" "                                                                                                   \
    "from (select distinct " E_GUID " as \"eGuidRecord\", " P_GUID " as \"pGuid\", r.guid as \"rGuid\", "              \
    "c.guid as \"cGuid\", f.guid as \"fGuid\", nod.guid as \"nodGuid\", lf.guid as \"lfGuid\", s.guid as \"sGuid\", "  \
    "s.\"Unom\", lf.\"Unom\" as \"UnomLV\", "                                                                          \
    "coalesce(t2.\"TypeTR\", ts.\"TypeTR\") || '-' || cast(round(coalesce(t2.\"Snom\", ts.\"Snom\"), 0) as integer) "  \
    "|| ' ' || coalesce(t2.\"AddStr\", ts.\"AddStr\", '') as \"TypeTR\" " START                                        \
    " join \"LVPResultsAdd\" pa on pa.res=r.guid "                                                                     \
    "join \"LVResults\" mv on pa.\"Ident\"=mv.\"Ident\" and coalesce(mv.\"CalcType\", 0)=:CalcType "                   \
    "join \"SamplesDates\" sd on sd.\"Ident\"=mv.\"SampleIdent\" and sd.\"SampleDate1\">=:sd1 "                        \
    "and sd.\"SampleDate2\"<=:sd2 join \"Periods\" per on per.\"Ident\"=sd.\"Period\" and sd.\"Period\"=:Period "      \
    "join \"LVFiders\" lf on mv.guid=lf.guid join \"Nodes\" nod on nod.guid=lf.\"OwnerGUID\" "                         \
    "join \"Fiders\" f on f.guid=nod.\"OwnerGUID\" join \"Sections\" s on s.guid=f.\"OwnerGUID\" "                     \
    "join \"Centers\" c on c.guid=s.\"OwnerGUID\" "                                                                    \
    "left join \"Transforms2\" t2 on t2.\"Ident\"=nod.\"Transf\" "                                                     \
    "left join \"TransformsSS\" ts on ts.\"Ident\"=nod.\"Transf\" where " FILTER ") own "                              \
    "join \"LVResults\" mv on mv.guid=own.\"lfGuid\" and coalesce(mv.\"CalcType\", 0)=:CalcType "                      \
    "join \"SamplesDates\" sd on sd.\"Ident\"=mv.\"SampleIdent\" and sd.\"SampleDate1\">=:sd1 "                        \
    "and sd.\"SampleDate2\"<=:sd2 and sd.\"Period\"=:Period "                                                          \
    "join \"LVPResultsAdd\" pa on pa.\"Ident\"=mv.\"Ident\" "                                                          \
    "left join \"RESData\" rd on rd.guid=pa.res left join pes pp on pp.guid=rd.\"OwnerGUID\" "                         \
    "left join \"LVWResultsAdd\" wa on wa.\"Ident\"=pa.\"Ident\" and wa.\"Balance\"=pa.\"Balance\" and wa.res=pa.res " \
    "order by own.\"lfGuid\", mv.\"Ident\", pa.res, pa.\"Balance\""

const char* const sResultsFromAOEnergo = OZN3_OWN(
    "e.guid", "p.guid", "from \"AOEnergo\" e join pes p on p.\"OwnerGUID\"=e.guid join res r on r.\"OwnerGUID\"=p.guid",
    "e.GUID=:GUID");
const char* const sResultsFromPES =
    OZN3_OWN("0", "p.guid", "from pes p join res r on r.\"OwnerGUID\"=p.guid", "p.GUID=:GUID");
const char* const sResultsFromRES =
    OZN3_OWN("0", "0", "from res r",
             "(r.GUID=:GUID or ((c.GUID=:GUID or s.GUID=:GUID or f.GUID=:GUID or nod.GUID=:GUID or lf.GUID=:GUID) "
             "and r.GUID=:rGUID))");
#undef OZN3_OWN

// The district that owns an object of levels 3 to 7.
const char* const sOwnerRES =
    "select first 1 r.guid from res r join \"Centers\" c on c.\"OwnerGUID\"=r.guid "
    "join \"Sections\" s on s.\"OwnerGUID\"=c.guid join \"Fiders\" f on f.\"OwnerGUID\"=s.guid "
    "left join \"Nodes\" nod on nod.\"OwnerGUID\"=f.guid left join \"LVFiders\" lf on lf.\"OwnerGUID\"=nod.guid "
    "where c.guid=:GUID or s.guid=:GUID or f.guid=:GUID or nod.guid=:GUID or lf.guid=:GUID";

}  // namespace LVResultsSql
