#pragma once

#include <QString>

#include <optional>
#include <utility>

// What an operation that reports failures through a QString* problem said,
// for a test to compare in one line: nothing when it succeeded, the problem
// in words when it failed. A failure without words shows as an empty text,
// which no expected problem matches.
template<typename Operation> std::optional<QString> problemOf(Operation&& operation)
{
    QString problem;
    if (std::forward<Operation>(operation)(&problem)) {
        return std::nullopt;
    }
    return problem;
}
