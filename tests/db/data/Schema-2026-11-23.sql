/* Database of the loss-analysis application: the host's network model and the LV tables.
   Run statement by statement by `ozn3 init-db`, or by isql-fb (SET TERM is understood). */

/* ---------------- generators ---------------- */
create generator "GUIDGen";
create generator "IdentGen";
create generator "LVFidersBIdent";

/* ---------------- hierarchy of the utility ---------------- */
create table "AOEnergo" ("GUID" integer not null primary key, "Name" varchar(100), "OwnerGUID" integer);
create table "PES" ("GUID" integer not null primary key, "Name" varchar(100), "OwnerGUID" integer);
create table "RES" ("GUID" integer not null primary key, "Name" varchar(100), "OwnerGUID" integer);
create table "Centers" ("GUID" integer not null primary key, "Name" varchar(100), "OwnerGUID" integer);
create table "Sections" ("GUID" integer not null primary key, "Name" varchar(100), "OwnerGUID" integer,
  "Unom" double precision);
create table "Fiders" ("GUID" integer not null primary key, "Name" varchar(100), "OwnerGUID" integer);
create table "Nodes" ("GUID" integer not null primary key, "Name" varchar(100), "Info" varchar(50),
  "OwnerGUID" integer, "Transf" integer, "RES" integer);
/* A substation fed from a second feeder appears there as a link to its node. */
create table "NodeLinks" ("GUID" integer not null primary key, "OwnerGUID" integer not null,
  "LinkGUID" integer not null);
create view "RESData" ("GUID", "Name", "OwnerGUID") as select "GUID", "Name", "OwnerGUID" from "RES";

create index "PES_Owner" on "PES" ("OwnerGUID");
create index "RES_Owner" on "RES" ("OwnerGUID");
create index "Centers_Owner" on "Centers" ("OwnerGUID");
create index "Sections_Owner" on "Sections" ("OwnerGUID");
create index "Fiders_Owner" on "Fiders" ("OwnerGUID");
create index "Nodes_Owner" on "Nodes" ("OwnerGUID");
create index "Nodes_Transf" on "Nodes" ("Transf");
create index "Nodes_RES" on "Nodes" ("RES");
create index "NodeLinks_Owner" on "NodeLinks" ("OwnerGUID");

/* ---------------- catalogues ---------------- */
create table "Transforms2" ("Ident" integer not null primary key, "TypeTR" varchar(50), "Snom" double precision,
  "UnomH" double precision, "AddStr" varchar(50));
create table "TransformsSS" ("Ident" integer not null primary key, "TypeTR" varchar(50), "Snom" double precision,
  "UnomH1" double precision, "UnomH2" double precision, "AddStr" varchar(50));
create table "ProvodTypes" ("Ident" integer not null primary key, "Unom" double precision, "Name" varchar(100),
  "CableFlags" integer);
/* "NullFlag" 1: the conductor carries its own neutral (four-core cable, self-supporting wire). */
create table "Provods" ("Ident" integer not null primary key, "Marka" varchar(50), "F" double precision,
  "R0" double precision, "X0" double precision, "ProvodType" integer, "AddStr" varchar(50), "NullFlag" integer);
create index "Provods_Type" on "Provods" ("ProvodType");
create table "Cables" ("Ident" integer not null primary key, "PhaseNull_R0" double precision);
create table "TypeLoads" ("Ident" integer not null primary key, "Name" varchar(100), "CosFi" double precision);
create table "Periods" ("Ident" integer not null primary key, "Name" varchar(50));
create table "SamplesDates" ("Ident" integer not null primary key, "Name" varchar(50), "Period" integer,
  "SampleDate1" timestamp, "SampleDate2" timestamp);
create index "SamplesDates_Date1" on "SamplesDates" ("SampleDate1");
create index "SamplesDates_Period" on "SamplesDates" ("Period");

/* ---------------- users' rights ---------------- */
/* -1 in "PeriodIdent" or "ObjectGUID" grants the right for any period or object. */
create table "UserRights" ("UserName" varchar(63) not null, "UserRight" integer not null,
  "PeriodIdent" integer not null, "ObjectGUID" integer not null, "Granted" smallint not null,
  primary key ("UserName", "UserRight", "PeriodIdent", "ObjectGUID"));

/* ---------------- medium-voltage results and loads ---------------- */
create table "MVResults" ("Ident" integer not null primary key, "GUID" integer, "SampleIdent" integer,
  "CalcType" integer);
create index "MVResults_GUID" on "MVResults" ("GUID");
create index "MVResults_Sample" on "MVResults" ("SampleIdent");
create table "WResultsN" ("Ident" integer not null, "GUID" integer not null, "Wa" double precision,
  primary key ("Ident", "GUID"));
create index "WResultsN_GUID" on "WResultsN" ("GUID");
create table "Transformation" ("Ident" integer not null, "RES" integer not null, "UnomCH" double precision not null,
  "Wa" double precision, primary key ("Ident", "RES", "UnomCH"));
create index "Transformation_RES" on "Transformation" ("RES");
create table "WLoads" ("SampleIdent" integer not null, "GUID" integer not null, "SampleType" integer,
  "Wa" double precision, "T" integer, "Kzap" double precision, "sqrKfg" double precision,
  primary key ("SampleIdent", "GUID"));
create index "WLoads_GUID" on "WLoads" ("GUID");

/* ---------------- LV feeders and their measurements ---------------- */
create table "LVFiders" ("GUID" integer not null primary key, "Name" varchar(100), "OwnerGUID" integer,
  "TypeLoad" integer, "Unom" double precision);
create index "LVFiders_Owner" on "LVFiders" ("OwnerGUID");
create table "LVFidersA" ("GUID" integer not null primary key, "CosFi" double precision, "ProvodPhase" integer,
  "ProvodNull" integer, "LineLength" double precision, "ConsumerName" varchar(100), "SwitchGName" varchar(100));
create table "LVPResultsA" ("GUID" integer not null, "SampleDate" date not null, "IsMain" integer,
  "UA" double precision, "UB" double precision, "UC" double precision,
  "U2A" double precision, "U2B" double precision, "U2C" double precision,
  "IA" double precision, "IB" double precision, "IC" double precision,
  "Tmax" integer, "Krazv" double precision, "Knm" double precision,
  "P" double precision, "Wa" double precision, "dP" double precision, "dW" double precision,
  primary key ("GUID", "SampleDate"));
create table "LVTmxRef" ("TypeLoad" integer not null, "Pmin" double precision not null, "Tmax" integer,
  primary key ("TypeLoad", "Pmin"));

/* Year samples per LV feeder, and the import tables, one row per object and interval. */
create table "LVPSamples" ("SampleIdent" integer not null, "GUID" integer not null,
  "UA" double precision, "UB" double precision, "UC" double precision,
  "IA" double precision, "IB" double precision, "IC" double precision,
  "U2A" double precision, "U2B" double precision, "U2C" double precision,
  "CosFiA" double precision, "CosFiB" double precision, "CosFiC" double precision,
  "Kdp" double precision, "Wa" double precision, "T" integer, "Tau" double precision, "Kzap" double precision,
  "Tmax" integer, "Temperature" double precision, primary key ("SampleIdent", "GUID"));
create index "LVPSamples_GUID" on "LVPSamples" ("GUID");
create table "LVPTPInfo" ("SampleIdent" integer not null, "GUID" integer not null,
  "UA" double precision, "UB" double precision, "UC" double precision,
  "IA" double precision, "IB" double precision, "IC" double precision,
  "CosFiA" double precision, "CosFiB" double precision, "CosFiC" double precision,
  "Kdp" double precision, "Wa" double precision, "T" integer, "Tau" double precision, "Kzap" double precision,
  "Tmax" integer, "Temperature" double precision, primary key ("SampleIdent", "GUID"));
create table "LVPLoads" ("SampleIdent" integer not null, "GUID" integer not null, "Wa" double precision,
  "Wr" double precision, "CosFi" double precision, "Pz" double precision, "Pi" double precision,
  "I" double precision, "LoadType" integer, "Param1" double precision, "Param2" double precision,
  primary key ("SampleIdent", "GUID"));
create table "LVWTPInfo" ("SampleIdent" integer not null, "GUID" integer not null, "TypeCalc" integer,
  "Wa_bus" double precision, "UA" double precision, "UB" double precision, "UC" double precision,
  "IA" double precision, "IB" double precision, "IC" double precision,
  "ImaxA" double precision, "ImaxB" double precision, "ImaxC" double precision,
  "CosFiA" double precision, "CosFiB" double precision, "CosFiC" double precision,
  "Kdp" double precision, "Temperature" double precision, primary key ("SampleIdent", "GUID"));
create index "LVWTPInfo_GUID" on "LVWTPInfo" ("GUID");
create table "LVWSamples" ("SampleIdent" integer not null, "GUID" integer not null, "TypeCalc" integer,
  "Wa" double precision, "T" integer, "UA" double precision, "UB" double precision, "UC" double precision,
  "IA" double precision, "IB" double precision, "IC" double precision,
  "ImaxA" double precision, "ImaxB" double precision, "ImaxC" double precision,
  "CosFiA" double precision, "CosFiB" double precision, "CosFiC" double precision,
  "Kdp" double precision, "Kzap" double precision, "sqrKfg" double precision, "Temperature" double precision,
  primary key ("SampleIdent", "GUID"));
create index "LVWSamples_GUID" on "LVWSamples" ("GUID");
create table "LVWLoads" ("SampleIdent" integer not null, "GUID" integer not null, "Wa" double precision,
  "Wr" double precision, "CosFi" double precision, primary key ("SampleIdent", "GUID"));
create table "LVConsumers" ("SampleIdent" integer not null, "GUID" integer not null, "Name" varchar(100),
  "OwnerGUID" integer, "Pust" double precision, "flagPu" integer, primary key ("SampleIdent", "GUID"));

/* ---------------- normative method ---------------- */
create table "LVFidersB" ("Ident" integer not null primary key, "CosFi" double precision, "Unom" double precision,
  "F" double precision, "NLines" integer, "dp" double precision, "kzap" double precision, "dn" double precision,
  "Lma" double precision, "Lms" double precision, "Lmm" double precision,
  "L23a" double precision, "L23s" double precision, "L23m" double precision,
  "L1a" double precision, "L1s" double precision, "L1m" double precision,
  "L1ia" double precision, "L1is" double precision, "L1im" double precision,
  "L23ia" double precision, "L23is" double precision, "L23im" double precision);
/* Lengths by cross-section (metres) behind an element's average head-section cross-section. */
create table "LVFidersBSections" ("Info" integer not null, "Idx" integer not null, "LenVL" integer,
  "LenKL" integer, primary key ("Info", "Idx"),
  foreign key ("Info") references "LVFidersB" ("Ident") on delete cascade);
create table "LVWResultsB" ("SampleIdent" integer not null, "GUID" integer not null, "Wa" double precision,
  "Wa_bus" double precision, "T" integer, "Info" integer, "Lekv" double precision, "ku" double precision,
  "k038" double precision, "deltaWa" double precision, primary key ("SampleIdent", "GUID"));
create index "LVWResultsB_GUID" on "LVWResultsB" ("GUID");
create index "LVWResultsB_Info" on "LVWResultsB" ("Info");

/* ---------------- LV regime results ---------------- */
create table "LVResults" ("Ident" integer not null primary key, "GUID" integer, "SampleIdent" integer,
  "CalcType" integer, "T" integer,
  "UA" double precision, "UB" double precision, "UC" double precision,
  "IA" double precision, "IB" double precision, "IC" double precision,
  "U2A" double precision, "U2B" double precision, "U2C" double precision,
  "CosFiA" double precision, "CosFiB" double precision, "CosFiC" double precision,
  "ImaxA" double precision, "ImaxB" double precision, "ImaxC" double precision,
  "Kdp" double precision, "Krazv" double precision, "Lm" double precision, "L23" double precision,
  "L1" double precision, "HeadEndLength" double precision, "HeadEndSize" double precision,
  "Temperature" double precision, "dPdop" double precision, "dWdop" double precision,
  "sqrKfg" double precision);
create index "LVResults_GUID" on "LVResults" ("GUID");
create index "LVResults_Sample" on "LVResults" ("SampleIdent", "CalcType");
create table "LVPResultsAdd" ("Ident" integer not null, "RES" integer not null, "Balance" integer not null,
  "Pcalc" double precision, "Pfakt" double precision, "Pgen" double precision,
  "Qcalc" double precision, "Qfakt" double precision, "Qgen" double precision,
  "dP" double precision, "dQ" double precision, "NAbonents" integer,
  "NLineP" integer, "NLineP_off" integer, "NLineC" integer, "NLineC_off" integer,
  "LsumP" double precision, "LsumP_off" double precision, "LsumC" double precision, "LsumC_off" double precision,
  primary key ("Ident", "RES", "Balance"),
  foreign key ("Ident") references "LVResults" ("Ident") on delete cascade);
create index "LVPResultsAdd_RES" on "LVPResultsAdd" ("RES");
create table "LVWResultsAdd" ("Ident" integer not null, "RES" integer not null, "Balance" integer not null,
  "Wacalc" double precision, "Wafakt" double precision, "Wa_gen" double precision,
  "Wrcalc" double precision, "Wrfakt" double precision, "Wr_gen" double precision,
  "dWa" double precision, "dWr" double precision,
  primary key ("Ident", "RES", "Balance"),
  foreign key ("Ident") references "LVResults" ("Ident") on delete cascade);
create table "LVPResultsN" ("Ident" integer not null, "GUID" integer not null, "U" double precision,
  primary key ("Ident", "GUID"), foreign key ("Ident") references "LVResults" ("Ident") on delete cascade);
create table "LVPResultsL" ("Ident" integer not null, "GUID" integer not null, "I" double precision,
  "dU" double precision, "dP" double precision, primary key ("Ident", "GUID"),
  foreign key ("Ident") references "LVResults" ("Ident") on delete cascade);

/* ---------------- LV schemes ---------------- */
create table "LVNodes" ("GUID" integer not null primary key, "Name" varchar(100), "OwnerGUID" integer,
  "TabOrder" integer);
create index "LVNodes_Owner" on "LVNodes" ("OwnerGUID");
create table "LVLines" ("GUID" integer not null primary key, "OwnerGUID" integer, "Node1" integer,
  "Node2" integer, "Info" varchar(100), "LineLength" double precision, "Kpl" double precision,
  "Phase" integer, "ProvodPhase" integer, "TabOrder" integer);
create index "LVLines_Owner" on "LVLines" ("OwnerGUID");

/* Regime parameters of an LV feeder kept between calculations: "Regime" 0 mean loads, 1 maximum load;
   "Level" 0 the current values, 1 the line's. */
create table "LVCalcParams" ("GUID" integer not null, "Regime" integer not null, "Level" integer not null,
  "SampleIdent" integer, "SampleType" integer,
  "UA" double precision, "UB" double precision, "UC" double precision,
  "ImaxA" double precision, "ImaxB" double precision, "ImaxC" double precision,
  "CosFiA" double precision, "CosFiB" double precision, "CosFiC" double precision,
  "IA" double precision, "IB" double precision, "IC" double precision,
  "Kdp" double precision, "Temperature" double precision, "T" double precision, "Wa" double precision,
  "Wa_bus" double precision, "Wa_tr" double precision, "Kzap" double precision, "sqrKfg" double precision,
  "Tmax" double precision, "Tau" double precision, primary key ("GUID", "Regime", "Level"));

/* Pairs of selected runs for one report, private to the connection. */
create global temporary table "tmpGUIDs" ("ID" integer, "GUID" integer) on commit preserve rows;

/* ---------------- keys from the generators ---------------- */
set term ^ ;
create procedure "GetNewGUID" returns ("GUID" integer) as
begin
  "GUID" = gen_id("GUIDGen", 1);
end^

create trigger "AOEnergo_Key" for "AOEnergo" before insert as
begin if (new."GUID" is null) then new."GUID" = gen_id("GUIDGen", 1); end^
create trigger "PES_Key" for "PES" before insert as
begin if (new."GUID" is null) then new."GUID" = gen_id("GUIDGen", 1); end^
create trigger "RES_Key" for "RES" before insert as
begin if (new."GUID" is null) then new."GUID" = gen_id("GUIDGen", 1); end^
create trigger "Centers_Key" for "Centers" before insert as
begin if (new."GUID" is null) then new."GUID" = gen_id("GUIDGen", 1); end^
create trigger "Sections_Key" for "Sections" before insert as
begin if (new."GUID" is null) then new."GUID" = gen_id("GUIDGen", 1); end^
create trigger "Fiders_Key" for "Fiders" before insert as
begin if (new."GUID" is null) then new."GUID" = gen_id("GUIDGen", 1); end^
create trigger "Nodes_Key" for "Nodes" before insert as
begin if (new."GUID" is null) then new."GUID" = gen_id("GUIDGen", 1); end^
create trigger "NodeLinks_Key" for "NodeLinks" before insert as
begin if (new."GUID" is null) then new."GUID" = gen_id("GUIDGen", 1); end^
create trigger "LVFiders_Key" for "LVFiders" before insert as
begin if (new."GUID" is null) then new."GUID" = gen_id("GUIDGen", 1); end^
create trigger "LVNodes_Key" for "LVNodes" before insert as
begin if (new."GUID" is null) then new."GUID" = gen_id("GUIDGen", 1); end^
create trigger "LVLines_Key" for "LVLines" before insert as
begin if (new."GUID" is null) then new."GUID" = gen_id("GUIDGen", 1); end^
create trigger "SamplesDates_Key" for "SamplesDates" before insert as
begin if (new."Ident" is null) then new."Ident" = gen_id("IdentGen", 1); end^
create trigger "MVResults_Key" for "MVResults" before insert as
begin if (new."Ident" is null) then new."Ident" = gen_id("IdentGen", 1); end^
create trigger "LVResults_Key" for "LVResults" before insert as
begin if (new."Ident" is null) then new."Ident" = gen_id("IdentGen", 1); end^
set term ; ^

/* ---------------- fixed reference rows ---------------- */
insert into "Periods" ("Ident", "Name") values (1, 'Год');
insert into "Periods" ("Ident", "Name") values (2, 'Полугодие');
insert into "Periods" ("Ident", "Name") values (3, 'Квартал');
insert into "Periods" ("Ident", "Name") values (4, 'Месяц');
