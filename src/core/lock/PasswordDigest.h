#pragma once

#include <QString>

// The unlock password is never kept, only this digest: SHA-256 of the
// password's UTF-8 bytes (no terminator, no salt, no trimming), as 64
// lower-case hex digits. The editing lock compares digests, so the same text
// typed in another Unicode composition is a different password.
QString passwordDigest(const QString& password);

// The digest is defined over a byte count that fits 32 bits; a longer input
// is a broken invariant and stops the process. Kept apart so the limit can be
// checked without building a 4 GiB string.
void requireDigestibleLength(qint64 byteCount);
