#pragma once
// What each kind of input accepts, in one place: the fields of the forms (TEditConstraints) and the input cells
// of the workbooks take their rules from here, so that a value a form refuses is refused by a workbook too. Each
// rule's message says the range only; the form or the sheet puts the field's caption before it.
#include "host/HostApi.h"
#include "host/InputRules.h"

namespace host::ranges {

// Measurements and regime parameters of LV feeders and substations.
OZN3HOST_API TInputRule Energy();             // thousand kWh (kvarh), not below 0
OZN3HOST_API TInputRule Power();              // kW, not below 0
OZN3HOST_API TInputRule PhaseVoltage();       // V, phase to neutral, 0 to 300
OZN3HOST_API TInputRule PhaseCurrent();       // A, 0 to 10 000
OZN3HOST_API TInputRule PowerFactor();        // above 0, up to 1
OZN3HOST_API TInputRule IntervalHours();      // whole hours, 1 to 8784
OZN3HOST_API TInputRule TmaxHours();          // whole hours, 0 to 8784
OZN3HOST_API TInputRule TauHours();           // hours, 0 to 8784
OZN3HOST_API TInputRule TauRelative();        // τ / T, 0 to 1
OZN3HOST_API TInputRule AdditionalLosses();   // Kдп, not below 0
OZN3HOST_API TInputRule FillFactor();         // Kзап, above 0, up to 1
OZN3HOST_API TInputRule SquaredFormFactor();  // Kф², not below 1
OZN3HOST_API TInputRule Temperature();        // °C, −60 to 60
OZN3HOST_API TInputRule Length();             // km, not below 0
OZN3HOST_API TInputRule BranchingFactor();    // Кразв, 0 to 1 (0: the default)
OZN3HOST_API TInputRule LossRatio();          // Кн/м, not below 0

// The generalised data of the normative method: the ranges in which the model takes a value as given.
OZN3HOST_API TInputRule Share();         // a share or cos φ of the model, 0 to 1
OZN3HOST_API TInputRule CrossSection();  // mm², above 0
OZN3HOST_API TInputRule LineCount();     // whole, from 1

}  // namespace host::ranges
