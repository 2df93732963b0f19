#pragma once

#include "model/Shot.h"

// Which shots one light is given, as the shot editor changes it. Records are
// matched by shotId (Text::equal); a record read from a file keeps an empty
// shotId until the live shot list resolves it, so it matches no named shot.
namespace ShotAssignment {

// Shots whose name ends with this (leading space included, case-sensitive)
// are empty layers of the production application.
inline const QString emptyLayerSuffix = QStringLiteral(" Clear Layer");

bool isEmptyLayer(const Shot& shot);

// The shots the editor lists: all of them, or all but the empty layers, in
// their order.
ShotList usableShots(const ShotList& allShots, bool showEmptyLayers);

// Whether the shot is one of the switcher's outputs (recording, streaming)
// and another listed shot, a camera or scene, has the same name. Both light
// a light given that name; the editor marks the output's row so that the
// user can tell which of the two a tick is for.
bool needsOutputMark(const ShotList& listed, const Shot& shot);

// Whether the light's list holds a record with the shot's shotId.
bool isAssigned(const ShotList& assigned, const Shot& shot);

// Appends the very record at the end, duplicates included.
void assign(ShotList& assigned, const ShotPtr& shot);

// Removes the first record with the shot's shotId, keeping the order of the
// rest. Returns whether one was removed.
bool unassign(ShotList& assigned, const Shot& shot);

} // namespace ShotAssignment
