#pragma once

#include <QtGlobal>

// What the password dialog is asked for: a new unlock password, typed twice
// (set), or the existing one, typed once and checked against a digest
// (collect). The editing lock decides it, the password check follows it, and
// PasswordViewController::Mode names the same type on the widget side, so the
// mode passes from one to the other as it is.
enum class PasswordMode : quint8 {
    set = 0,
    collect = 1,
};
