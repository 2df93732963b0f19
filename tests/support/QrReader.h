#pragma once

// Reads QR codes back with zbarimg (Debian zbar-tools), a reader written
// independently of the encoder the program uses, so that a code the program
// draws is known to scan, not only to look like a QR code.

#include <QByteArray>
#include <QProcess>
#include <QStandardPaths>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>
#include <optional>

namespace QrReader {

// Why a test that reads codes back skips where zbarimg is missing.
inline constexpr const char* notInstalled
    = "zbarimg (Debian zbar-tools) is not installed; scripts/install-deps.sh installs it";

// zbarimg's path, or empty when it is not installed.
inline QString program()
{
    return QStandardPaths::findExecutable(QStringLiteral("zbarimg"));
}

// The text of the one QR code in the picture file; nothing, with zbarimg's
// words in problem, when it finds none.
inline std::optional<QString> read(const QString& picturePath, QString* problem)
{
    QProcess zbar;
    zbar.start(program(),
        { QStringLiteral("--raw"), QStringLiteral("-q"), QStringLiteral("-Sdisable"), QStringLiteral("-Sqrcode.enable"),
            picturePath });
    if (!zbar.waitForFinished(20000) || zbar.exitStatus() != QProcess::NormalExit || zbar.exitCode() != 0) {
        *problem = QStringLiteral("zbarimg exit %1: %2")
                       .arg(zbar.exitCode())
                       .arg(QString::fromUtf8(zbar.readAllStandardError()));
        return std::nullopt;
    }
    QString text = QString::fromUtf8(zbar.readAllStandardOutput());
    while (text.endsWith(QLatin1Char('\n'))) {
        text.chop(1);
    }
    return text;
}

// A picture of modules as a plain PGM file, black on white, each module a
// square of scale pixels: what zbarimg reads without any Qt in between.
template<typename IsDark> QByteArray pgm(int side, int scale, IsDark isDark)
{
    QByteArray file = QStringLiteral("P5\n%1 %1\n255\n").arg(side * scale).toLatin1();
    for (int y = 0; y < side * scale; ++y) {
        for (int x = 0; x < side * scale; ++x) {
            file.append(isDark(x / scale, y / scale) ? char(0) : char(255));
        }
    }
    return file;
}

// A QR code drawn in a terminal (QrCode::terminalText, or what a program
// printed through a terminal) back as modules: each character is two rows,
// its upper and lower half. Colour codes and carriage returns are dropped.
class TerminalModules {
public:
    explicit TerminalModules(QString text)
    {
        text.remove(QStringLiteral("\x1b[30;47m"));
        text.remove(QStringLiteral("\x1b[0m"));
        text.remove(QLatin1Char('\r'));
        m_lines = text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    const QStringList& lines() const { return m_lines; }
    // Modules on a side, margin included.
    int side() const { return m_lines.isEmpty() ? 0 : int(m_lines.first().size()); }

    bool isDark(int x, int y) const
    {
        const QString line = m_lines.value(y / 2);
        const QChar c = x < line.size() ? line.at(x) : QLatin1Char(' ');
        const bool upper = y % 2 == 0;
        return c == QChar(0x2588) || (upper && c == QChar(0x2580)) || (!upper && c == QChar(0x2584));
    }

private:
    QStringList m_lines;
};

// A test that reads codes back: skipped, with the reason, where zbarimg is
// not installed; the pictures go to a folder of the test's own.
class Test : public testing::Test {
protected:
    void SetUp() override
    {
        if (program().isEmpty()) {
            GTEST_SKIP() << notInstalled;
        }
        ASSERT_TRUE(m_folder.isValid());
    }

    // What zbarimg reads from the picture that save writes to a file named
    // name; nothing, failing the test, when it reads none.
    std::optional<QString> scan(const QString& name, const std::function<bool(const QString& path)>& save)
    {
        const QString path = m_folder.filePath(name);
        EXPECT_TRUE(save(path)) << path.toStdString();
        QString problem;
        std::optional<QString> text = read(path, &problem);
        EXPECT_TRUE(text.has_value()) << problem.toStdString();
        return text;
    }

private:
    QTemporaryDir m_folder;
};

} // namespace QrReader
