#pragma once

#include <QString>

// Where the stand-in production application keeps its current answer to the
// shot query, and where the query script reads it:
// $XDG_RUNTIME_DIR/mixdesk/shots, or /tmp/mixdesk-<uid>/shots when
// XDG_RUNTIME_DIR is unset or empty. The stand-in, the query script and the
// tests all follow this one rule.
namespace ShotsFile {

QString directory();
QString path();

// Makes sure directory() exists as a directory private to this user (mode
// 0700). Under /tmp anyone could have made the name first, so a symbolic
// link, a non-directory or a directory of another user is refused rather
// than written into. On failure returns false and describes why in *problem.
bool prepareDirectory(QString* problem);

// The same check and creation for any directory; prepareDirectory() is this
// on directory().
bool preparePrivateDirectory(const QString& directory, QString* problem);

} // namespace ShotsFile
