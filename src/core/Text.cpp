#include "core/Text.h"

namespace Text {

QString canonical(const QString& text)
{
    return text.normalized(QString::NormalizationForm_C);
}

bool equal(const QString& a, const QString& b)
{
    // Most names are plain ASCII and already equal or already different in
    // length-and-content; only normalise when the quick answer is "no".
    if (a == b) {
        return true;
    }
    return canonical(a) == canonical(b);
}

} // namespace Text
