#pragma once

#include <QUuid>

class UserDefaults;

// The CID this installation sends sACN under. Receivers and lighting desks
// tell sources apart by it, so it is made once and kept in the settings:
// a restart, or the window and tallyctl watch on one machine, stay one
// source to them.
QUuid sacnSourceId(UserDefaults& defaults);
