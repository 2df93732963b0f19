#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// What mixdesk-tally prints for --help and --version. Both are answered
// before any window (or display connection) exists, so they work over ssh,
// in scripts and in package checks.
namespace LaunchInformation {

// "mixdesk-tally 0.1.0".
QString versionLine();

// The usage, the options the window understands and what files do.
QStringList helpLines();

// The lines to print when the arguments ask for help or the version
// (before any "--"), else nothing: the program goes on to open its window.
std::optional<QStringList> requestedLines(const QStringList& arguments);

} // namespace LaunchInformation
