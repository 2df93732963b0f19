// The build tree installed into a temporary prefix, as `cmake --install`
// lays it out, and the installed programs run from there: they must find
// their resources under <prefix>/share/mixdesk-tally without any help from
// the build tree.

#include "ProgramRun.h"
#include "SourcesAndOutputs.h"
#include "base/ManualLocation.h"
#include "support/CaptureFile.h"
#include "support/Eventually.h"
#include "support/QtPrinters.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QThread>

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace {

constexpr int patienceMilliseconds = 15000;

const QByteArray twoShots = "{{shotId:\"1\", shotName:\"Cam 1\", isLive:true, isPreview:false}, "
                            "{shotId:\"2\", shotName:\"Cam 2\", isLive:false, isPreview:true}}\n";

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool writeFile(const QString& path, const QByteArray& contents)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).absolutePath()) && file.open(QIODevice::WriteOnly)
        && file.write(contents) == contents.size();
}

// One installation for the whole run of this executable. Every installed
// program is started with the resource-directory override removed, so that
// only the installed layout can lead it to its resources.
class InstallTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        s_prefix = std::make_unique<QTemporaryDir>();
        ASSERT_TRUE(s_prefix->isValid());
        s_install = runProgram(QStringLiteral(TALLY_CMAKE_COMMAND),
            { QStringLiteral("--install"), QStringLiteral(TALLY_BINARY_DIR), QStringLiteral("--prefix"),
                s_prefix->path() },
            withTimeout(60000));
    }

    static void TearDownTestSuite() { s_prefix.reset(); }

    void SetUp() override
    {
        ASSERT_TRUE(s_install.finished && s_install.exitCode == 0) << s_install.describe().toStdString();
        ASSERT_TRUE(m_runtime.isValid());
    }

    static QString installed(const QString& relativePath) { return s_prefix->filePath(relativePath); }

    // A private runtime directory (the stand-in's answer lives there) and
    // configuration directory for each test.
    ProgramOptions options(const QByteArray& input = {}) const
    {
        ProgramOptions result;
        result.input = input;
        result.unset = { QStringLiteral("MIXDESK_TALLY_RESOURCE_DIR"), QStringLiteral("MIXDESK_TALLY_HID_CAPTURE") };
        result.environment = { { QStringLiteral("XDG_RUNTIME_DIR"), m_runtime.path() },
            { QStringLiteral("XDG_CONFIG_HOME"), m_runtime.filePath(QStringLiteral("config")) } };
        return result;
    }

    QString shotsPath() const { return m_runtime.filePath(QStringLiteral("mixdesk/shots")); }

    static inline std::unique_ptr<QTemporaryDir> s_prefix;
    static inline ProgramRun s_install;
    QTemporaryDir m_runtime;
};

// A process that must be stopped when the test ends, however it ends.
class RunningProgram {
public:
    RunningProgram(const QString& program, const QStringList& arguments, const ProgramOptions& options)
    {
        m_process.setProcessEnvironment(programEnvironment(options));
        m_process.start(program, arguments);
    }

    ~RunningProgram()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.kill();
            m_process.waitForFinished(patienceMilliseconds);
        }
    }

    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    QProcess& process() { return m_process; }

private:
    QProcess m_process;
};

} // namespace

TEST_F(InstallTest, InstalledTallyctlPrintsItsUsage)
{
    const ProgramRun run
        = runProgram(installed(QStringLiteral("bin/tallyctl")), { QStringLiteral("--help") }, options());
    ASSERT_TRUE(run.finished) << run.describe().toStdString();
    EXPECT_EQ(run.exitCode, 0) << run.describe().toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("decode"))) << run.out.toStdString();
    EXPECT_TRUE(run.out.contains(QStringLiteral("chase"))) << run.out.toStdString();
}

TEST_F(InstallTest, InstalledTallyctlDecodesASampleAnswer)
{
    const ProgramRun run
        = runProgram(installed(QStringLiteral("bin/tallyctl")), { QStringLiteral("decode") }, options(twoShots));
    ASSERT_TRUE(run.finished) << run.describe().toStdString();
    EXPECT_EQ(run.exitCode, 0) << run.describe().toStdString();
    EXPECT_EQ(run.out, QStringLiteral("1. \"Cam 1\" (id \"1\"): live\n2. \"Cam 2\" (id \"2\"): preview\n"));
    EXPECT_EQ(run.err, QString());
}

TEST_F(InstallTest, QueryScriptIsInstalledExecutableInTheSharedResourceDirectory)
{
    const QFileInfo script(installed(QStringLiteral("share/mixdesk-tally/query_shots")));
    ASSERT_TRUE(script.isFile()) << script.filePath().toStdString();
    EXPECT_TRUE(script.isExecutable());
    EXPECT_TRUE(script.isReadable());
}

TEST_F(InstallTest, InstalledQueryScriptPrintsTheAnswerFileAndTallyctlDecodesIt)
{
    ASSERT_TRUE(writeFile(shotsPath(), twoShots));
    const ProgramRun query = runProgram(installed(QStringLiteral("share/mixdesk-tally/query_shots")), {}, options());
    ASSERT_TRUE(query.finished) << query.describe().toStdString();
    ASSERT_EQ(query.exitCode, 0) << query.describe().toStdString();
    EXPECT_EQ(query.out.toUtf8(), twoShots);

    const ProgramRun decode = runProgram(
        installed(QStringLiteral("bin/tallyctl")), { QStringLiteral("decode") }, options(query.out.toUtf8()));
    EXPECT_EQ(decode.exitCode, 0) << decode.describe().toStdString();
    EXPECT_EQ(decode.out, QStringLiteral("1. \"Cam 1\" (id \"1\"): live\n2. \"Cam 2\" (id \"2\"): preview\n"));
}

TEST_F(InstallTest, InstalledQueryScriptFailsWithAMessageWhenNothingAnswers)
{
    const ProgramRun query = runProgram(installed(QStringLiteral("share/mixdesk-tally/query_shots")), {}, options());
    ASSERT_TRUE(query.finished) << query.describe().toStdString();
    EXPECT_NE(query.exitCode, 0);
    EXPECT_EQ(query.out, QString());
    EXPECT_TRUE(query.err.contains(shotsPath())) << query.err.toStdString();
}

TEST_F(InstallTest, InstalledStandInAnswersThroughTheInstalledQueryScript)
{
    const QString standIn = installed(QStringLiteral("bin/mixdesk-standin"));
    ASSERT_TRUE(QFileInfo(standIn).isExecutable()) << standIn.toStdString();
    RunningProgram mixdesk(standIn, { QStringLiteral("--headless") }, options());
    ASSERT_TRUE(mixdesk.process().waitForStarted(patienceMilliseconds));
    ASSERT_TRUE(eventually([this] { return !readFile(shotsPath()).isEmpty(); }))
        << QString::fromUtf8(mixdesk.process().readAllStandardError()).toStdString();
    // Started through its launcher, it still runs under the name the
    // running check looks for.
    EXPECT_EQ(readFile(QStringLiteral("/proc/%1/comm").arg(mixdesk.process().processId())), QByteArray("mixdesk\n"));

    const ProgramRun query = runProgram(installed(QStringLiteral("share/mixdesk-tally/query_shots")), {}, options());
    ASSERT_EQ(query.exitCode, 0) << query.describe().toStdString();
    EXPECT_EQ(query.out.toUtf8(), readFile(shotsPath()));
    const ProgramRun decode = runProgram(
        installed(QStringLiteral("bin/tallyctl")), { QStringLiteral("decode") }, options(query.out.toUtf8()));
    EXPECT_EQ(decode.exitCode, 0) << decode.describe().toStdString();
    EXPECT_TRUE(decode.out.startsWith(QStringLiteral("1. \""))) << decode.out.toStdString();

    mixdesk.process().write("quit\n");
    EXPECT_TRUE(mixdesk.process().waitForFinished(patienceMilliseconds));
    EXPECT_FALSE(QFileInfo::exists(shotsPath()));
}

TEST_F(InstallTest, InstalledMixdeskTallyFindsItsQueryScriptAndDrivesTheLights)
{
    const QString program = installed(QStringLiteral("bin/mixdesk-tally"));
    if (!QFileInfo::exists(program)) {
        GTEST_SKIP() << "mixdesk-tally is not built in this tree, so it was not installed; "
                        "this test runs once it is";
    }
    RunningProgram mixdesk(
        installed(QStringLiteral("bin/mixdesk-standin")), { QStringLiteral("--headless") }, options());
    ASSERT_TRUE(eventually([this] { return !readFile(shotsPath()).isEmpty(); }));

    const QString capture = m_runtime.filePath(QStringLiteral("capture"));
    ProgramOptions tallyOptions = options();
    tallyOptions.environment.insert(QStringLiteral("MIXDESK_TALLY_HID_CAPTURE"), capture);
    tallyOptions.environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    RunningProgram tally(program, {}, tallyOptions);
    ASSERT_TRUE(tally.process().waitForStarted(patienceMilliseconds));

    // With no tally map every light is off: each tick sends program off and
    // preview off for lights 1 to 8. Two ticks show that the query ran (a
    // missing script would have stopped the program at the first).
    QList<quint8> oneTick;
    for (quint8 light = 1; light <= 8; ++light) {
        oneTick += { quint8(0x00 | light), quint8(0x20 | light) };
    }
    const QStringList expected = CaptureFile::lines(oneTick + oneTick);
    ASSERT_TRUE(eventually([&] { return CaptureFile::read(capture).size() >= expected.size(); }))
        << QString::fromUtf8(tally.process().readAllStandardError()).toStdString();
    EXPECT_EQ(CaptureFile::read(capture).mid(0, expected.size()), expected);
    EXPECT_EQ(tally.process().state(), QProcess::Running);
    EXPECT_FALSE(QString::fromUtf8(tally.process().readAllStandardError()).contains(QStringLiteral("fatal error")));
}

TEST_F(InstallTest, InstalledDesktopFileIsValid)
{
    const QString desktopFile
        = installed(QStringLiteral("share/applications/io.github.mixdesktally.MixdeskTally.desktop"));
    ASSERT_TRUE(QFileInfo::exists(desktopFile));
    const ProgramRun run = runProgram(QStringLiteral("desktop-file-validate"), { desktopFile });
    ASSERT_TRUE(run.finished) << run.describe().toStdString();
    EXPECT_EQ(run.exitCode, 0) << run.describe().toStdString();
    EXPECT_EQ(run.out.trimmed(), QString()) << run.out.toStdString();
    // The launcher starts the program that is installed beside it.
    EXPECT_TRUE(readFile(desktopFile).contains("\nExec=mixdesk-tally"));
}

TEST_F(InstallTest, InstalledMimeTypeIsWellFormedXmlForTallyMaps)
{
    const QString mimeFile = installed(QStringLiteral("share/mime/packages/mixdesk-tally.xml"));
    ASSERT_TRUE(QFileInfo::exists(mimeFile));
    const ProgramRun run = runProgram(QStringLiteral("xmllint"), { QStringLiteral("--noout"), mimeFile });
    ASSERT_TRUE(run.finished) << run.describe().toStdString();
    EXPECT_EQ(run.exitCode, 0) << run.describe().toStdString();
    EXPECT_EQ(run.err, QString());
    EXPECT_TRUE(readFile(mimeFile).contains("*.tlx"));
}

TEST_F(InstallTest, UdevRuleForTheTallyBoxIsInstalled)
{
    const QByteArray rule = readFile(installed(QStringLiteral("lib/udev/rules.d/70-mixdesk-tally.rules"))).toLower();
    ASSERT_FALSE(rule.isEmpty());
    EXPECT_TRUE(rule.contains("attrs{idvendor}==\"04d8\"")) << rule.toStdString();
    EXPECT_TRUE(rule.contains("attrs{idproduct}==\"f5ea\"")) << rule.toStdString();
    EXPECT_TRUE(rule.contains("subsystem==\"hidraw\""));
}

TEST_F(InstallTest, ApplicationAndDocumentIconsAreInstalled)
{
    for (const char* icon : { "share/icons/hicolor/scalable/apps/io.github.mixdesktally.MixdeskTally.svg",
             "share/icons/hicolor/scalable/mimetypes/application-x-mixdesk-tally-map.svg" }) {
        const QByteArray svg = readFile(installed(QString::fromLatin1(icon)));
        EXPECT_TRUE(svg.contains("<svg")) << icon;
    }
}

TEST_F(InstallTest, TheStandInLeavesTheNameMixdeskInTheCommandPathFree)
{
    EXPECT_FALSE(QFileInfo::exists(installed(QStringLiteral("bin/mixdesk"))));
    EXPECT_TRUE(QFileInfo(installed(QStringLiteral("libexec/mixdesk-tally/mixdesk"))).isExecutable());
    EXPECT_TRUE(QFileInfo(installed(QStringLiteral("bin/mixdesk-standin"))).isExecutable());
}

TEST_F(InstallTest, TheAtemStandInIsOnTheCommandPath)
{
    const ProgramRun run
        = runProgram(installed(QStringLiteral("bin/atem-standin")), { QStringLiteral("--help") }, options());
    EXPECT_EQ(run.exitCode, 0) << run.describe().toStdString();
    EXPECT_TRUE(run.out.startsWith(QStringLiteral("usage: atem-standin "))) << run.out.toStdString();
}

TEST_F(InstallTest, TheVmixStandInIsOnTheCommandPath)
{
    const ProgramRun run
        = runProgram(installed(QStringLiteral("bin/vmix-standin")), { QStringLiteral("--help") }, options());
    EXPECT_EQ(run.exitCode, 0) << run.describe().toStdString();
    EXPECT_TRUE(run.out.startsWith(QStringLiteral("usage: vmix-standin "))) << run.out.toStdString();
}

TEST_F(InstallTest, TheStandInLauncherHandsOnItsArguments)
{
    const ProgramRun run
        = runProgram(installed(QStringLiteral("bin/mixdesk-standin")), { QStringLiteral("--help") }, options());
    EXPECT_EQ(run.exitCode, 0) << run.describe().toStdString();
    EXPECT_TRUE(run.out.startsWith(QStringLiteral("Usage: mixdesk "))) << run.out.toStdString();
}

TEST_F(InstallTest, EveryProgramHasACompressedManualPageThatFormatsWithoutWarnings)
{
    for (const char* page : { "mixdesk-tally", "tallyctl", "mixdesk-standin", "atem-standin", "vmix-standin" }) {
        const QString path = installed(QStringLiteral("share/man/man1/%1.1.gz").arg(QString::fromLatin1(page)));
        ASSERT_TRUE(QFileInfo::exists(path)) << path.toStdString();
        const ProgramRun text = runProgram(QStringLiteral("gzip"), { QStringLiteral("-dc"), path });
        EXPECT_EQ(text.exitCode, 0) << text.describe().toStdString();
        EXPECT_TRUE(text.out.startsWith(QStringLiteral(".TH ") + QString::fromLatin1(page).toUpper()))
            << text.out.left(80).toStdString();
        EXPECT_FALSE(text.out.contains(QStringLiteral("@PROJECT_VERSION@"))) << page;
        // groff's warnings (-ww) are the ones lintian reports for manual pages.
        ProgramOptions formatting;
        formatting.input = text.out.toUtf8();
        const ProgramRun groff = runProgram(QStringLiteral("groff"),
            { QStringLiteral("-man"), QStringLiteral("-Tutf8"), QStringLiteral("-ww"), QStringLiteral("-z") },
            formatting);
        EXPECT_EQ(groff.exitCode, 0) << page << ": " << groff.describe().toStdString();
        EXPECT_EQ(groff.err, QString()) << page;
    }
}

TEST_F(InstallTest, ManualPagesAreCompressedWithoutATimestamp)
{
    // gzip keeps the file's time in bytes 4 to 7 unless told not to; a
    // package built twice from the same sources should be the same.
    QFile page(installed(QStringLiteral("share/man/man1/tallyctl.1.gz")));
    ASSERT_TRUE(page.open(QIODevice::ReadOnly));
    const QByteArray header = page.read(10);
    ASSERT_EQ(header.size(), 10);
    EXPECT_EQ(header.mid(0, 2), QByteArray("\x1f\x8b"));
    EXPECT_EQ(header.mid(4, 4), QByteArray(4, '\0'));
}

TEST_F(InstallTest, AppStreamMetadataValidates)
{
    const QString metainfo
        = installed(QStringLiteral("share/metainfo/io.github.mixdesktally.MixdeskTally.metainfo.xml"));
    ASSERT_TRUE(QFileInfo::exists(metainfo));
    if (QStandardPaths::findExecutable(QStringLiteral("appstreamcli")).isEmpty()) {
        GTEST_SKIP() << "appstreamcli is not installed (Debian's appstream package; scripts/install-deps.sh)";
    }
    const ProgramRun run = runProgram(QStringLiteral("appstreamcli"),
        { QStringLiteral("validate"), QStringLiteral("--no-net"), QStringLiteral("--explain"), metainfo });
    ASSERT_TRUE(run.finished) << run.describe().toStdString();
    EXPECT_EQ(run.exitCode, 0) << run.describe().toStdString();
    EXPECT_TRUE(readFile(metainfo).contains(
        "<launchable type=\"desktop-id\">io.github.mixdesktally.MixdeskTally.desktop</launchable>"));
}

TEST_F(InstallTest, TheLauncherAndTheMetadataShareTheApplicationsId)
{
    const QByteArray metainfo
        = readFile(installed(QStringLiteral("share/metainfo/io.github.mixdesktally.MixdeskTally.metainfo.xml")));
    EXPECT_TRUE(metainfo.contains("<id>io.github.mixdesktally.MixdeskTally</id>")) << metainfo.toStdString();
    EXPECT_FALSE(metainfo.contains("invalid")) << "no placeholder id is left";
    const QByteArray launcher
        = readFile(installed(QStringLiteral("share/applications/io.github.mixdesktally.MixdeskTally.desktop")));
    EXPECT_TRUE(launcher.contains("\nIcon=io.github.mixdesktally.MixdeskTally\n")) << launcher.toStdString();
    EXPECT_TRUE(QFileInfo::exists(
        installed(QStringLiteral("share/icons/hicolor/scalable/apps/io.github.mixdesktally.MixdeskTally.svg"))));
    // What a software centre shows: every switcher and every output.
    const QString description = QString::fromUtf8(metainfo).simplified();
    for (const QString& name : sourcesAndOutputs) {
        EXPECT_TRUE(description.contains(name)) << name.toStdString();
    }
    const QString comment = QString::fromUtf8(launcher);
    for (const char* source : { "Mixdesk", "OBS Studio", "ATEM", "vMix", "TSL UMD" }) {
        EXPECT_TRUE(comment.contains(QString::fromLatin1(source))) << source;
    }
}

TEST_F(InstallTest, TheManualPagesNameEveryEnvironmentVariableTheProgramsReadAndGiveExamples)
{
    // The variables are the ones the sources name; a new one without its
    // place in the manual fails here.
    QSet<QString> variables { QStringLiteral("XDG_RUNTIME_DIR") };
    static const QRegularExpression name(QStringLiteral("\\bMIXDESK_TALLY_[A-Z_]*[A-Z]\\b"));
    QDirIterator sources(QStringLiteral(TALLY_SOURCE_DIR "/src"), { QStringLiteral("*.cpp"), QStringLiteral("*.h") },
        QDir::Files, QDirIterator::Subdirectories);
    while (sources.hasNext()) {
        const QString text = QString::fromUtf8(readFile(sources.next()));
        for (const QRegularExpressionMatch& match : name.globalMatch(text)) {
            variables.insert(match.captured());
        }
    }
    ASSERT_GE(variables.size(), 6) << "the sources name fewer variables than they used to";
    for (const char* page : { "mixdesk-tally", "tallyctl" }) {
        const ProgramRun text = runProgram(QStringLiteral("gzip"),
            { QStringLiteral("-dc"),
                installed(QStringLiteral("share/man/man1/%1.1.gz").arg(QString::fromLatin1(page))) });
        ASSERT_EQ(text.exitCode, 0) << text.describe().toStdString();
        const qsizetype environment = text.out.indexOf(QStringLiteral("\n.SH ENVIRONMENT\n"));
        ASSERT_GE(environment, 0) << page;
        const qsizetype next = text.out.indexOf(QStringLiteral("\n.SH "), environment + 1);
        const QString section = text.out.mid(environment, next - environment);
        for (const QString& variable : std::as_const(variables)) {
            EXPECT_TRUE(section.contains(QStringLiteral(".B ") + variable + QLatin1Char('\n')))
                << page << " does not name " << variable.toStdString();
        }
    }
    for (const char* page : { "mixdesk-tally", "tallyctl", "mixdesk-standin", "atem-standin", "vmix-standin" }) {
        const ProgramRun text = runProgram(QStringLiteral("gzip"),
            { QStringLiteral("-dc"),
                installed(QStringLiteral("share/man/man1/%1.1.gz").arg(QString::fromLatin1(page))) });
        EXPECT_TRUE(text.out.contains(QStringLiteral("\n.SH EXAMPLES\n"))) << page;
    }
}

TEST_F(InstallTest, BashCompletesTallyctlCommandsAndOptions)
{
    const QString completion = installed(QStringLiteral("share/bash-completion/completions/tallyctl"));
    ASSERT_TRUE(QFileInfo::exists(completion));
    // The way bash-completion calls it: the words so far, the word under the
    // cursor, and the function the file registered for tallyctl.
    const QString script = QStringLiteral(
        "source /usr/share/bash-completion/bash_completion && source '%1' && "
        "complete() { COMP_WORDS=(\"$@\"); COMP_CWORD=$(($# - 1)); COMP_LINE=\"$*\"; COMP_POINT=${#COMP_LINE}; "
        "COMPREPLY=(); _tallyctl tallyctl \"${COMP_WORDS[-1]}\" \"${COMP_WORDS[-2]}\"; echo \"${COMPREPLY[*]}\"; }; "
        "complete tallyctl wa; complete tallyctl watch --j; complete tallyctl help ma; complete tallyctl map s")
                               .arg(completion);
    const ProgramRun run = runProgram(QStringLiteral("bash"), { QStringLiteral("-c"), script });
    ASSERT_TRUE(run.finished) << run.describe().toStdString();
    EXPECT_EQ(run.exitCode, 0) << run.describe().toStdString();
    EXPECT_EQ(run.out, QStringLiteral("watch\n--json\nmap\nshow\n")) << run.describe().toStdString();
}

TEST_F(InstallTest, CopyrightFileIsMachineReadableAndTheChangelogIsCompressed)
{
    const QByteArray copyright = readFile(installed(QStringLiteral("share/doc/mixdesk-tally/copyright")));
    EXPECT_TRUE(copyright.startsWith("Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/\n"));
    EXPECT_TRUE(copyright.contains("\nFiles: *\n"));
    const ProgramRun changelog = runProgram(QStringLiteral("gzip"),
        { QStringLiteral("-dc"), installed(QStringLiteral("share/doc/mixdesk-tally/changelog.gz")) });
    EXPECT_EQ(changelog.exitCode, 0) << changelog.describe().toStdString();
    EXPECT_TRUE(changelog.out.startsWith(QStringLiteral("mixdesk-tally (" TALLY_VERSION ") unstable; ")))
        << changelog.out.toStdString();
}

TEST_F(InstallTest, TheManualIsInstalledWhereHelpLooksWithEveryPageAndPictureItLinksTo)
{
    const QString folder = installed(QStringLiteral("share/doc/mixdesk-tally"));
    QString problem;
    EXPECT_EQ(ManualLocation::find(ManualLocation::folders(installed(QStringLiteral("bin"))), &problem),
        std::optional<QString>(QDir(folder).filePath(QStringLiteral("index.md"))))
        << problem.toStdString();
    // Every link between the pages, and every picture they show, leads to
    // an installed file.
    const QRegularExpression link(QStringLiteral("\\]\\(([^)#:\\s]+\\.(?:md|png))\\)"));
    int links = 0;
    for (const QString& page : QDir(folder).entryList({ QStringLiteral("*.md") }, QDir::Files)) {
        const QString text = QString::fromUtf8(readFile(QDir(folder).filePath(page)));
        for (const QRegularExpressionMatch& match : link.globalMatch(text)) {
            ++links;
            EXPECT_TRUE(QFileInfo::exists(QDir(folder).filePath(match.captured(1))))
                << page.toStdString() << " links to " << match.captured(1).toStdString();
        }
    }
    EXPECT_GE(links, 16);
    EXPECT_TRUE(QFileInfo::exists(QDir(folder).filePath(QStringLiteral("window.md"))));
    EXPECT_TRUE(QFileInfo::exists(QDir(folder).filePath(QStringLiteral("screenshots/main-window.png"))));
}
