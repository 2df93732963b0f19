#pragma once

#include "launch/RunOptions.h"
#include "support/ProblemOf.h"

// What taking the options from arguments says: nothing when they are right,
// the usage problem in words when not.
inline std::optional<QString> takingOptions(QStringList& arguments, RunOptions* options)
{
    return problemOf([&](QString* problem) { return RunOptions::takeFrom(arguments, options, problem); });
}
