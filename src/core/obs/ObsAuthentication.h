#pragma once

#include <QString>

// The answer OBS Studio expects to its password challenge: the password is
// never sent, only base64(sha256(secret + challenge)), where the secret is
// base64(sha256(password + salt)). Salt and challenge come in the server's
// greeting; a fresh challenge each connection makes an overheard answer
// useless.
QString obsAuthenticationResponse(const QString& password, const QString& salt, const QString& challenge);
