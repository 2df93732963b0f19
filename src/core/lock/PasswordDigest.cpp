#include "lock/PasswordDigest.h"

#include "base/FatalError.h"

#include <QCryptographicHash>

#include <limits>

void requireDigestibleLength(qint64 byteCount)
{
    constexpr qint64 largest = std::numeric_limits<quint32>::max();
    if (byteCount > largest) {
        fatalError(
            QStringLiteral("password of %1 bytes is too long to digest (at most %2)").arg(byteCount).arg(largest));
    }
}

QString passwordDigest(const QString& password)
{
    const QByteArray bytes = password.toUtf8();
    requireDigestibleLength(bytes.size());
    const QByteArray digest = QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
    return QString::fromLatin1(digest.toHex());
}
