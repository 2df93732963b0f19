#pragma once

#include "link/AppleEventDescriptor.h"
#include "link/Mixdesk.h"

#include <QString>

#include <functional>
#include <optional>

// The query script answers with a list of records, one per shot, whose
// user-defined labels "shotId", "shotName" (text), "isLive" and "isPreview"
// (booleans) set the shot's fields. Any other label is reported and skipped.

// Decodes an answer. An answer of fewer than two items, or that is not a
// list, is the empty list: a single shot is never reported, which keeps the
// lights as they are while the production application is half set up. An
// unknown label prints "unexpected record attribute <label>" on standard
// output. An answer of the wrong shape (a shot that is not a record, a
// missing item, a label or a shotId or shotName value without text) stops
// the program: the script and this decoder disagree.
Mixdesk::ShotList decodeShots(const AppleEventDescriptor& result);

// The same decoding without stopping and without printing: what decodeShots
// would return, or nothing with the problem it would stop on. Unknown labels
// go to the callback, in order. For callers that meet answers from outside
// (tallyctl).
std::optional<Mixdesk::ShotList> decodeShotsChecked(const AppleEventDescriptor& result,
    const std::function<void(const QString& label)>& unexpectedLabel, QString* problem);
