#include "base/ManualLocation.h"

#include "support/QtPrinters.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

void writePage(const QString& path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("# Mixdesk Tally\n");
}

} // namespace

TEST(ManualLocationTest, TheProgramsOwnInstallationIsLookedInFirstThenTheSystems)
{
    const QStringList folders = ManualLocation::folders(QStringLiteral("/opt/tally/bin"));
    ASSERT_GE(folders.size(), 2);
    EXPECT_EQ(folders.first(), QStringLiteral("/opt/tally/share/doc/mixdesk-tally"));
    EXPECT_EQ(folders.last(), QStringLiteral("/usr/share/doc/mixdesk-tally"));
    QStringList unique = folders;
    EXPECT_EQ(unique.removeDuplicates(), 0);
}

TEST(ManualLocationTest, AProgramInstalledInTheSystemLooksInEachFolderOnce)
{
    const QStringList folders = ManualLocation::folders(QStringLiteral("/usr/bin"));
    EXPECT_EQ(folders.count(QStringLiteral("/usr/share/doc/mixdesk-tally")), 1);
    QStringList unique = folders;
    EXPECT_EQ(unique.removeDuplicates(), 0);
}

TEST(ManualLocationTest, TheFirstFolderWithAnIndexWins)
{
    QTemporaryDir first;
    QTemporaryDir second;
    ASSERT_TRUE(first.isValid() && second.isValid());
    writePage(second.filePath(QStringLiteral("index.md")));
    QString problem;
    EXPECT_EQ(ManualLocation::find({ first.path(), second.path() }, &problem),
        std::optional<QString>(QFileInfo(second.filePath(QStringLiteral("index.md"))).absoluteFilePath()));
    writePage(first.filePath(QStringLiteral("index.md")));
    EXPECT_EQ(ManualLocation::find({ first.path(), second.path() }, &problem),
        std::optional<QString>(QFileInfo(first.filePath(QStringLiteral("index.md"))).absoluteFilePath()));
}

TEST(ManualLocationTest, NoIndexAnywhereSaysWhereItWasLookedFor)
{
    QTemporaryDir empty;
    ASSERT_TRUE(empty.isValid());
    // A folder named like the page is not the page.
    QDir(empty.path()).mkdir(QStringLiteral("index.md"));
    QString problem;
    EXPECT_EQ(ManualLocation::find({ empty.path(), QStringLiteral("/nonexistent/doc") }, &problem), std::nullopt);
    EXPECT_TRUE(problem.startsWith(QStringLiteral("The manual is not installed: no index.md in ")))
        << problem.toStdString();
    EXPECT_TRUE(problem.contains(empty.path())) << problem.toStdString();
    EXPECT_TRUE(problem.contains(QStringLiteral("/nonexistent/doc"))) << problem.toStdString();
}
