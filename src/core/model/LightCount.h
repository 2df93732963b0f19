#pragma once

#include <QtGlobal>

// How many tally lights the program drives: the tally box has eight, and the
// tally map, the window's indicators, the device mirror, the web page and the
// TSL display indexes all have one place per light. Kept here, below every
// layer that counts lights, so that the hardware and TSL code can use it
// without reaching up to the tally map.
inline constexpr qsizetype tallyLightCount = 8;
