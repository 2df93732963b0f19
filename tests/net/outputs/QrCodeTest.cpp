#include "outputs/QrCode.h"

#include "support/QrReader.h"

#include <QFile>

#include <gtest/gtest.h>

namespace {

class QrCodeTest : public QrReader::Test {
protected:
    // What zbarimg reads from a picture of the modules, margin included.
    std::optional<QString> scan(int side, const std::function<bool(int, int)>& isDark)
    {
        return QrReader::Test::scan(QStringLiteral("code.pgm"), [&](const QString& path) {
            QFile file(path);
            return file.open(QIODevice::WriteOnly) && file.write(QrReader::pgm(side, 6, isDark)) > 0;
        });
    }
};

} // namespace

TEST_F(QrCodeTest, AnAddressReadsBackAsItself)
{
    const QString url = QStringLiteral("http://192.168.1.20:8080/light/3");
    const std::optional<QrCode> code = QrCode::encode(url);
    ASSERT_TRUE(code.has_value());
    // A version 1 code is 21 modules; each version adds 4.
    EXPECT_GE(code->size(), 21);
    EXPECT_EQ((code->size() - 21) % 4, 0);
    const int side = code->size() + 2 * QrCode::quietZone;
    const auto dark = [&code](int x, int y) { return code->isDark(x - QrCode::quietZone, y - QrCode::quietZone); };
    EXPECT_EQ(scan(side, dark), url);
}

TEST_F(QrCodeTest, TheMarginIsLight)
{
    const std::optional<QrCode> code = QrCode::encode(QStringLiteral("http://10.0.0.5:8080/"));
    ASSERT_TRUE(code.has_value());
    EXPECT_FALSE(code->isDark(-1, 0));
    EXPECT_FALSE(code->isDark(0, code->size()));
    // The finder pattern's corner is dark.
    EXPECT_TRUE(code->isDark(0, 0));
}

TEST_F(QrCodeTest, TheTerminalPictureReadsBackAsTheAddress)
{
    const QString url = QStringLiteral("http://[fd00::5]:8080/");
    const std::optional<QrCode> code = QrCode::encode(url);
    ASSERT_TRUE(code.has_value());
    const QString text = code->terminalText();
    const QrReader::TerminalModules modules(text);
    const int side = code->size() + 2 * QrCode::quietZone;
    ASSERT_EQ(modules.lines().size(), (side + 1) / 2);
    for (const QString& line : modules.lines()) {
        ASSERT_EQ(line.size(), side);
    }
    // Black on white whatever the terminal's colours, reset at each line's end.
    EXPECT_TRUE(text.startsWith(QStringLiteral("\x1b[30;47m")));
    EXPECT_TRUE(text.endsWith(QStringLiteral("\x1b[0m\n")));
    EXPECT_EQ(scan(side, [&modules](int x, int y) { return modules.isDark(x, y); }), url);
}

TEST(QrCodeLimitsTest, TextTooLongForAnyCodeGivesNothing)
{
    EXPECT_FALSE(QrCode::encode(QString(8000, QLatin1Char('x'))).has_value());
}
