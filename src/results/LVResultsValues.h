#pragma once

class TLVResultRecord;

// Numbered value tables of a result record, as the reports and the summary workbook address them.
//
// ValuesW_Pes (energy) and ValuesP_Pes (power): number n is the n-th grid column after the nominal voltage
// (EnergyColumns / PowerColumns). The energy table has 49 numbers (Wa_gen .. dWdop_P), 50 when the record's
// mode is 2 (dWtech follows); the power table has 48 (Pgen .. NAbonents4).
// ValuesP_off: 1-48 are ValuesP_Pes; then the lines by balance (0 on the utility's balance, 4 not) and state:
//   49 LsumP on 0, 50 LsumP_off on 0, 51 = 49+50; 52-54 the same on 4; 55 = 49+52, 56 = 50+53, 57 = 55+56;
//   58-66 the same scheme for LsumC; 67 = 49+58, 68 = 50+59, 69 = 67+68 (balance 0, overhead and cable);
//   70 = 52+61, 71 = 53+62, 72 = 70+71 (balance 4); 73 = 55+64, 74 = 56+65, 75 = 73+74 (both balances);
//   76-93 the same scheme for the section counts NLineP (76-84) and NLineC (85-93);
//   94 = 76+85, 95 = 77+86, 96 = 94+95; 97 = 82+91, 98 = 83+92.
// ValuesW_off: in mode 2 numbers 1-50 are ValuesW_Pes and any other n is ValuesP_off(n - 5); in other modes
// 1-49 are ValuesW_Pes and any other n is ValuesP_off(n - 4).
// Every value is empty (NaN) when it has no operand; sums are empty-aware.
double ValuesW_Pes(const TLVResultRecord& record, int n);
double ValuesP_Pes(const TLVResultRecord& record, int n);
double ValuesP_off(const TLVResultRecord& record, int n);
double ValuesW_off(const TLVResultRecord& record, int n);

// The same tables for one balance kind (0 on the utility's balance, 4 not on it, 5 both).
double ValuesW_T1(const TLVResultRecord& record, int kind, int n);
double ValuesP_T1(const TLVResultRecord& record, int kind, int n);
// Power and energy received by a balance kind: kind 0 none; kinds 1 and 2 number kind + 8 of that kind's
// table; kind 3 the received value of its own balance rows; kinds 4 and 5 that of the whole balance;
// kinds above 5 none.
double deltaPgen(const TLVResultRecord& record, int kind);
double deltaWgen(const TLVResultRecord& record, int kind);
// Equivalent resistance of the feeder, Ohm: the power loss over three times the square of the head current.
double Rekv(const TLVResultRecord& record);
