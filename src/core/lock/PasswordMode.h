#pragma once

#include <QtGlobal>

// What the password dialog is asked for: a new unlock password, typed twice
// (set), or the existing one, typed once and checked against a digest
// (collect). PasswordViewController::Mode names the same type on the widget
// side.
enum class PasswordMode : quint8 {
    set = 0,
    collect = 1,
};
