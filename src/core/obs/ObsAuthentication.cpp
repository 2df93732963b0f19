#include "obs/ObsAuthentication.h"

#include <QCryptographicHash>

namespace {

QByteArray base64Sha256(const QByteArray& text)
{
    return QCryptographicHash::hash(text, QCryptographicHash::Sha256).toBase64();
}

} // namespace

QString obsAuthenticationResponse(const QString& password, const QString& salt, const QString& challenge)
{
    const QByteArray secret = base64Sha256(password.toUtf8() + salt.toUtf8());
    return QString::fromLatin1(base64Sha256(secret + challenge.toUtf8()));
}
