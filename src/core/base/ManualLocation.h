#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// Where the installed user's manual is: the documentation pages the package
// ships beside its changelog, opened at their index. Help looks for it
// beside the program's own installation first (a package unpacked under
// /opt, or a build installed with its own prefix), then where this build
// installs, then where the distribution's package puts it.
namespace ManualLocation {

// The manual's first page.
inline const QString indexPage = QStringLiteral("index.md");

// The folders looked in, most likely first, without repeats:
// executableDirectory/../share/doc/mixdesk-tally, the build's own install
// prefix, /usr/share/doc/mixdesk-tally.
QStringList folders(const QString& executableDirectory);

// The index page in the first of folders that has one; nothing, with the
// reason in words (the folders looked in), when none has.
std::optional<QString> find(const QStringList& folders, QString* problem = nullptr);

} // namespace ManualLocation
