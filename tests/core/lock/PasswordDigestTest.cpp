#include "lock/PasswordDigest.h"

#include "support/QtPrinters.h"

#include <QCryptographicHash>
#include <QRegularExpression>

#include <gtest/gtest.h>

TEST(PasswordDigestTest, DigestOfEmptyStringIsSha256OfNoBytes)
{
    EXPECT_EQ(
        passwordDigest(QString()), QStringLiteral("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"));
    EXPECT_EQ(passwordDigest(QStringLiteral("")), passwordDigest(QString()));
}

TEST(PasswordDigestTest, DigestOfAbcIsLowerCaseHex)
{
    EXPECT_EQ(passwordDigest(QStringLiteral("abc")),
        QStringLiteral("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"));
}

TEST(PasswordDigestTest, DigestIsSixtyFourLowerCaseHexDigits)
{
    const QString digest = passwordDigest(QStringLiteral("The quick brown fox jumps over the lazy dog"));
    EXPECT_EQ(digest, QStringLiteral("d7a8fbb307d7809469ca9abcb0082e4f8d5651e46d3cdb762d02d0bf37c9e592"));
    const QRegularExpression lowerHex(QStringLiteral("^[0-9a-f]{64}$"));
    for (const QString& password :
        { QStringLiteral("x"), QStringLiteral("PASSWORD"), QStringLiteral("\u00e9\u00e8") }) {
        EXPECT_TRUE(lowerHex.match(passwordDigest(password)).hasMatch()) << password.toStdString();
    }
}

TEST(PasswordDigestTest, DigestIsTakenOverUtf8BytesAsTyped)
{
    const QString composed = QStringLiteral("caf\u00e9");
    const QString decomposed = QStringLiteral("cafe\u0301");
    const QByteArray composedBytes("caf\xc3\xa9");
    const QByteArray decomposedBytes("cafe\xcc\x81");
    EXPECT_EQ(passwordDigest(composed),
        QString::fromLatin1(QCryptographicHash::hash(composedBytes, QCryptographicHash::Sha256).toHex()));
    EXPECT_EQ(passwordDigest(decomposed),
        QString::fromLatin1(QCryptographicHash::hash(decomposedBytes, QCryptographicHash::Sha256).toHex()));
    EXPECT_NE(passwordDigest(composed), passwordDigest(decomposed));
}

TEST(PasswordDigestTest, DigestKeepsSurroundingSpaces)
{
    EXPECT_NE(passwordDigest(QStringLiteral(" abc ")), passwordDigest(QStringLiteral("abc")));
    EXPECT_NE(passwordDigest(QStringLiteral("abc\t")), passwordDigest(QStringLiteral("abc")));
}

TEST(PasswordDigestTest, LengthUpToFourGibibytesLessOneIsAccepted)
{
    requireDigestibleLength(0);
    requireDigestibleLength(4294967295LL);
    SUCCEED();
}

TEST(PasswordDigestDeathTest, InputLongerThan32BitByteCountStops)
{
    EXPECT_DEATH(requireDigestibleLength(4294967296LL), "fatal error: password of 4294967296 bytes is too long");
}
