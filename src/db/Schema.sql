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
/* An interval is made on demand by whoever needs it first: two users at once make one, not two. */
create unique index "SamplesDates_Dates" on "SamplesDates" ("Period", "SampleDate1", "SampleDate2");
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
/* At most one main sample per feeder, also when two editors mark different samples at once. */
create unique index "LVPResultsA_Main" on "LVPResultsA" computed by (iif("IsMain" = 1, "GUID", null));
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
/* Loads of the consumers for the maximum-load regime (see "LVWLoads"). */
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
/* The consumers of an interval, "GUID" the consumer's node of the scheme ("LVNodes"), "OwnerGUID" its LV
   feeder, "Pust" installed power in kW; their energies of the interval in thousand kWh / thousand kvarh
   ("LVWLoads"; "LVPLoads" for the maximum-load regime, taken before "LVWLoads" when present). */
create table "LVWLoads" ("SampleIdent" integer not null, "GUID" integer not null, "Wa" double precision,
  "Wr" double precision, "CosFi" double precision, primary key ("SampleIdent", "GUID"));
create table "LVConsumers" ("SampleIdent" integer not null, "GUID" integer not null, "Name" varchar(100),
  "OwnerGUID" integer, "Pust" double precision, "flagPu" integer, primary key ("SampleIdent", "GUID"));
/* The register of meters: one per object (substation, LV feeder or consumer), its name and state (0 not given,
   1 in order, 2 faulty, 3 verification overdue, 4 missing). */
create table "Meters" ("GUID" integer not null primary key, "MeterName" varchar(40), "State" smallint);

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
/* One row per run of the regime calculation of an LV feeder for an interval and a calculation type
   (null or 0: the ordinary run). Units: hours, V, A, km, mm², °C, kW, thousand kWh. */
create table "LVResults" ("Ident" integer not null primary key,
  "GUID" integer,                    /* the LV feeder */
  "SampleIdent" integer,             /* the interval ("SamplesDates") */
  "CalcType" integer,
  "T" integer,                       /* hours of the interval */
  "UA" double precision, "UB" double precision, "UC" double precision,     /* V, phase voltages at the supply centre */
  "IA" double precision, "IB" double precision, "IC" double precision,     /* A, head currents of the regime */
  "U2A" double precision, "U2B" double precision, "U2C" double precision,  /* V, the lowest phase voltages of the feeder */
  "CosFiA" double precision, "CosFiB" double precision, "CosFiC" double precision,  /* head power factors */
  "ImaxA" double precision, "ImaxB" double precision, "ImaxC" double precision,     /* A, maximum head currents */
  "Kdp" double precision,            /* additional losses factor */
  "Krazv" double precision,          /* branching coefficient of the solved regime */
  "Lm" double precision,             /* km, main line */
  "L23" double precision,            /* km, two- and three-phase branches */
  "L1" double precision,             /* km, single-phase branches */
  "HeadEndLength" double precision,  /* km */
  "HeadEndSize" double precision,    /* mm² */
  "Temperature" double precision,    /* °C */
  "dPdop" double precision,          /* kW, admissible imbalance of power */
  "dWdop" double precision,          /* thousand kWh, admissible imbalance of energy */
  "sqrKfg" double precision,         /* squared shape factor; null for a maximum-load run */
  "Regime" smallint,                 /* 0 mean loads, 1 maximum load */
  "LoadMode" smallint,               /* 0 given loads, 1 head currents, 2 energy supplied, 3 metering profiles */
  "Kzap" double precision,           /* fill factor of the load curve the energy was computed with */
  "Tau" double precision,            /* relative hours of greatest losses of that curve */
  "Tmax" double precision,           /* hours of greatest load of that curve */
  /* A feeder has at most one run of an interval and calculation type: a second writer replaces the first
     one's run instead of adding its own beside it, or every sum over the network would count the feeder twice. */
  constraint "LVResults_Run" unique ("GUID", "SampleIdent", "CalcType"));
create index "LVResults_Sample" on "LVResults" ("SampleIdent", "CalcType");
/* One row per (district, balance kind 0 or 4) of a run: kW, kvar, km. */
create table "LVPResultsAdd" ("Ident" integer not null, "RES" integer not null, "Balance" integer not null,
  "Pcalc" double precision,   /* kW, calculated consumption of the part's supplied consumers */
  "Pfakt" double precision,   /* kW, their given consumption (energy over the hours) */
  "Pgen" double precision,    /* kW, power received by the part: consumption and losses */
  "Qcalc" double precision, "Qfakt" double precision, "Qgen" double precision,  /* kvar, the same */
  "dP" double precision,      /* kW, load losses in the part's sections */
  "dQ" double precision,      /* kvar */
  "NAbonents" integer,        /* supplied consumers */
  "NLineP" integer, "NLineP_off" integer, "NLineC" integer, "NLineC_off" integer,  /* overhead and cable sections, on and off */
  "LsumP" double precision, "LsumP_off" double precision, "LsumC" double precision, "LsumC_off" double precision,  /* km */
  primary key ("Ident", "RES", "Balance"),
  foreign key ("Ident") references "LVResults" ("Ident") on delete cascade);
create index "LVPResultsAdd_RES" on "LVPResultsAdd" ("RES");
/* The same parts in energy: thousand kWh, thousand kvarh. */
create table "LVWResultsAdd" ("Ident" integer not null, "RES" integer not null, "Balance" integer not null,
  "Wacalc" double precision,  /* thousand kWh, calculated consumption */
  "Wafakt" double precision,  /* thousand kWh, given consumption of the consumers' meters */
  "Wa_gen" double precision,  /* thousand kWh, received: consumption and losses; the head part also what is not explained */
  "Wrcalc" double precision, "Wrfakt" double precision, "Wr_gen" double precision,  /* thousand kvarh */
  "dWa" double precision,     /* thousand kWh, load losses */
  "dWr" double precision,     /* thousand kvarh */
  primary key ("Ident", "RES", "Balance"),
  foreign key ("Ident") references "LVResults" ("Ident") on delete cascade);
/* Per energised node of a run. */
create table "LVPResultsN" ("Ident" integer not null, "GUID" integer not null,
  "U" double precision,       /* V, mean of the node's phase-to-neutral voltages */
  "UA" double precision, "UB" double precision, "UC" double precision,  /* V, null where the phase is absent */
  "dU" double precision,      /* %, voltage loss from the supply centre (the largest of the phases) */
  "Umin" double precision,    /* V, a run by profiles: the lowest phase voltage of the interval */
  "UOut" double precision,    /* a run by profiles: share of the steps outside 10 % of the nominal voltage */
  primary key ("Ident", "GUID"), foreign key ("Ident") references "LVResults" ("Ident") on delete cascade);
/* Per energised section of a run. */
create table "LVPResultsL" ("Ident" integer not null, "GUID" integer not null,
  "I" double precision,       /* A, the largest phase current */
  "dU" double precision,      /* %, voltage loss along the section, of the supply-centre phase voltage */
  "dP" double precision,      /* kW, losses */
  "IA" double precision, "IB" double precision, "IC" double precision,  /* A, null where the phase is absent */
  "IN" double precision,      /* A, neutral current */
  "dQ" double precision,      /* kvar */
  primary key ("Ident", "GUID"),
  foreign key ("Ident") references "LVResults" ("Ident") on delete cascade);

/* ---------------- LV schemes ---------------- */
/* Nodes of an LV feeder's scheme; the feeder's own GUID is its supply centre (the substation's bus).
   "Kind": 0 supply centre, 1 tap point, 2 consumer, 3 switching device, null or 4 plain node.
   "State": a switching device's state, 1 or null on, 0 off. "Phases": a consumer's connection, 'A', 'B',
   'C' or null/'ABC' for three phases. "Owner": a consumer's balance owner when it differs from its
   section's: 0 "На балансе", 1 "Не на балансе", 2 "Потребителя", 3 "ССО", 4 "ССП". */
create table "LVNodes" ("GUID" integer not null primary key, "Name" varchar(100), "OwnerGUID" integer,
  "TabOrder" integer, "Kind" smallint, "State" smallint, "Phases" varchar(3), "ConsumerName" varchar(100),
  "Owner" smallint);
create index "LVNodes_Owner" on "LVNodes" ("OwnerGUID");
/* Sections of an LV feeder's scheme, "Node1" the end nearer to the supply centre. "LineLength" km.
   "Kind": 0 overhead, 1 cable, 2 connecting, null from the conductor. "Phases": null/'ABC' or any
   other non-empty set of 'A', 'B', 'C'; "Phase" the number of phases. "ProvodPhase", "ProvodNull":
   phase and neutral conductors ("Provods"), the neutral null when the same. "State" 1 or null on, 0 off.
   "Owner" as for nodes, null on the balance. "RES": the district of the balance, null the substation's. */
create table "LVLines" ("GUID" integer not null primary key, "OwnerGUID" integer, "Node1" integer,
  "Node2" integer, "Info" varchar(100), "LineLength" double precision, "Kpl" double precision,
  "Phase" integer, "ProvodPhase" integer, "TabOrder" integer, "Kind" smallint, "Phases" varchar(3),
  "ProvodNull" integer, "State" smallint, "Owner" smallint, "RES" integer);
create index "LVLines_Owner" on "LVLines" ("OwnerGUID");

/* Regime parameters of an LV feeder kept between calculations, per interval ("SampleIdent"):
   "Regime" 0 mean loads, 1 maximum load; "Level" 0 the current values, 1 the line's. A database of an
   earlier version keyed them without the interval; SchemaUpgrade.cpp brings its key up to this one. */
create table "LVCalcParams" ("GUID" integer not null, "Regime" integer not null, "Level" integer not null,
  "SampleIdent" integer, "SampleType" integer,
  "UA" double precision, "UB" double precision, "UC" double precision,
  "ImaxA" double precision, "ImaxB" double precision, "ImaxC" double precision,
  "CosFiA" double precision, "CosFiB" double precision, "CosFiC" double precision,
  "IA" double precision, "IB" double precision, "IC" double precision,
  "Kdp" double precision, "Temperature" double precision, "T" double precision, "Wa" double precision,
  "Wa_bus" double precision, "Wa_tr" double precision, "Kzap" double precision, "sqrKfg" double precision,
  "Tmax" double precision, "Tau" double precision,
  constraint "LVCalcParams_Key" unique ("GUID", "Regime", "Level", "SampleIdent"));

/* ---------------- metering profiles ---------------- */
/* The energies of every step of an interval, one row per object and interval. "Kind": 0 a consumer ("GUID" its
   "LVNodes" row), 1 the head meter of an LV feeder ("GUID" the feeder), 2 the typical profile of a load kind
   ("GUID" its "TypeLoads"."Ident"). "FiderGUID": the LV feeder, 0 for a load kind. "Start": the start of the
   first step, "StepMinutes" 1 to 60, "Steps" their number. "Wa", "Wr": sums of the steps, kWh and kvarh (null
   without reactive values). "Active", "Reactive": the series in the compact form of the profile codec. */
create table "LVProfiles" ("SampleIdent" integer not null, "FiderGUID" integer not null, "Kind" smallint not null,
  "GUID" integer not null, "Start" timestamp not null, "StepMinutes" smallint not null, "Steps" integer not null,
  "Wa" double precision, "Wr" double precision, "Active" blob sub_type 0, "Reactive" blob sub_type 0,
  primary key ("SampleIdent", "FiderGUID", "Kind", "GUID"));
/* A run by metering profiles ("LVResults"."LoadMode" 3): its steps, how many consumers took their loads from
   each source (their own profile, the head profile's remainder, the load kind's typical profile, a flat one,
   none), the step of greatest head power, and the load losses of the same consumers and interval by the
   mean-load method (with the squared shape factor of the head profile) and the maximum-load method (with tau
   of the head profile's Tmax). Energies in thousand kWh, voltages V. */
create table "LVProfileRuns" ("Ident" integer not null primary key,
  "StepMinutes" smallint, "Steps" integer, "PeakTime" timestamp,
  "NProfile" integer, "NHead" integer, "NTypical" integer, "NFlat" integer, "NNoLoad" integer,
  "HeadMeter" smallint,         /* 1: the head profile is the head meter's, 0: the calculated head power */
  "Umin" double precision,      /* the lowest phase-to-neutral voltage over the interval */
  "UOut" double precision,      /* share of the steps with a node outside 10 % of the nominal voltage */
  "sqrKfg" double precision, "Tmax" double precision, "Tau" double precision,  /* of the head profile; tau relative */
  "dWa" double precision,       /* load losses by the profiles */
  "dWaMiddle" double precision, /* by the mean-load method */
  "dWaMax" double precision,    /* by the maximum-load method */
  foreign key ("Ident") references "LVResults" ("Ident") on delete cascade);

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
/* The ordinary run is "CalcType" 0 whether written as 0 or as null, so that the unique key holds for it. */
create trigger "LVResults_CalcType" for "LVResults" before insert or update as
begin if (new."CalcType" is null) then new."CalcType" = 0; end^
set term ; ^

/* ---------------- fixed reference rows ---------------- */
insert into "Periods" ("Ident", "Name") values (1, 'Год');
insert into "Periods" ("Ident", "Name") values (2, 'Полугодие');
insert into "Periods" ("Ident", "Name") values (3, 'Квартал');
insert into "Periods" ("Ident", "Name") values (4, 'Месяц');

/* The usual 0.38 kV conductors, so that a new database takes a scheme at once: bare aluminium and
   steel-aluminium wires, self-supporting insulated wires (their own neutral, "NullFlag" 1) and
   four-core aluminium cables. R0 and X0 in Ohm/km at 20 °C; 644 (А-50) is the default conductor of a
   new LV feeder. */
insert into "ProvodTypes" ("Ident", "Unom", "Name", "CableFlags") values (1, 0.380, 'Провод неизолированный 0,38 кВ', 0);
insert into "ProvodTypes" ("Ident", "Unom", "Name", "CableFlags") values (2, 0.380, 'Провод самонесущий изолированный 0,38 кВ', 0);
insert into "ProvodTypes" ("Ident", "Unom", "Name", "CableFlags") values (3, 0.380, 'Кабель 0,38 кВ', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (640, 'А', 16, 1.98, 0.358, 1, '', 0);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (641, 'А', 25, 1.28, 0.345, 1, '', 0);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (642, 'А', 35, 0.92, 0.336, 1, '', 0);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (643, 'А', 120, 0.27, 0.297, 1, '', 0);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (644, 'А', 50, 0.64, 0.325, 1, '', 0);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (645, 'А', 70, 0.46, 0.315, 1, '', 0);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (646, 'А', 95, 0.34, 0.303, 1, '', 0);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (647, 'АС', 50, 0.603, 0.325, 1, '', 0);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (648, 'АС', 35, 0.79, 0.336, 1, '', 0);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (649, 'АС', 70, 0.428, 0.315, 1, '', 0);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (650, 'СИП-2', 50, 0.641, 0.0794, 2, '3х50+1х54,6', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (651, 'СИП-2', 70, 0.443, 0.0789, 2, '3х70+1х54,6', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (652, 'СИП-2', 16, 1.91, 0.0865, 2, '3х16+1х25', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (653, 'СИП-2', 25, 1.2, 0.0827, 2, '3х25+1х35', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (654, 'СИП-2', 35, 0.868, 0.0802, 2, '3х35+1х54,6', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (655, 'СИП-2', 95, 0.32, 0.0762, 2, '3х95+1х70', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (656, 'СИП-2', 120, 0.253, 0.0745, 2, '3х120+1х95', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (657, 'СИП-4', 16, 1.91, 0.0754, 2, '4х16', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (658, 'СИП-4', 25, 1.2, 0.0754, 2, '4х25', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (660, 'АВБбШв', 95, 0.32, 0.0602, 3, '4х95', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (661, 'АВБбШв', 120, 0.253, 0.0602, 3, '4х120', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (662, 'АВБбШв', 35, 0.894, 0.0637, 3, '4х35', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (663, 'АВБбШв', 50, 0.625, 0.0625, 3, '4х50', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (664, 'АВБбШв', 70, 0.447, 0.0612, 3, '4х70', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (665, 'АВБбШв', 150, 0.208, 0.0596, 3, '4х150', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (666, 'АВБбШв', 185, 0.169, 0.0596, 3, '4х185', 1);
insert into "Provods" ("Ident", "Marka", "F", "R0", "X0", "ProvodType", "AddStr", "NullFlag") values (667, 'АВБбШв', 240, 0.13, 0.0587, 3, '4х240', 1);
