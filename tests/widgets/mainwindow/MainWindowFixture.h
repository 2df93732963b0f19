#pragma once

// A main window built for a widget test: Mixdesk::shared() answers from a
// FakeMixdeskPlatform, USBHIDAppDelegate::shared() drives a FakeDevice, the
// preferences and the recent documents live in a private temporary folder,
// and the file panels are answered by the test.

#include "base/UserDefaults.h"
#include "core/hardware/HardwareFakes.h"
#include "dialogs/DocumentPanels.h"
#include "hardware/USBHIDAppDelegate.h"
#include "lamps/TallyState.h"
#include "mainwindow/MainMenu.h"
#include "mainwindow/MainWindow.h"
#include "mainwindow/ModalPanelProbe.h"
#include "support/FakeMixdeskPlatform.h"
#include "support/FakeSecretStore.h"
#include "support/FakeShotSource.h"
#include "support/ShotNotation.h"
#include "tallymap/RecentDocuments.h"

#include <QFile>
#include <QPushButton>
#include <QSettings>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

// Answers the open and save panels from queues; an empty queue is Cancel.
class FakeDocumentPanels : public DocumentPanels {
public:
    QList<std::optional<QUrl>> openAnswers;
    QList<std::optional<QUrl>> saveAnswers;
    int openRuns = 0;
    int saveRuns = 0;

    std::optional<QUrl> runOpenPanel(QWidget*) override
    {
        ++openRuns;
        return openAnswers.isEmpty() ? std::nullopt : openAnswers.takeFirst();
    }

    std::optional<QUrl> runSavePanel(QWidget*) override
    {
        ++saveRuns;
        return saveAnswers.isEmpty() ? std::nullopt : saveAnswers.takeFirst();
    }
};

class MainWindowFixture : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(directory.isValid());
        UserDefaults::standardUserDefaults().useSettingsFile(directory.filePath(QStringLiteral("preferences.ini")));
        Preferences::registerDefaults();
        Mixdesk::shared().setPlatform(platform);
        Mixdesk::shared().authorizationChecked = false;
        auto backend = std::make_unique<FakeBackend>();
        FakeBackend* plugged = backend.get();
        USBHIDAppDelegate::setSharedBackendForTesting(std::move(backend));
        plugged->plug(device);
        installModalPanelProbe();
    }

    void TearDown() override
    {
        main.window.reset();
        Mixdesk::shared().setPlatform(std::make_shared<FakeMixdeskPlatform>());
    }

    // Builds the window; the update timer is stopped so that a test decides
    // when ticks happen.
    void makeWindow(std::unique_ptr<ShotSource> shotSource = nullptr)
    {
        auto panelsOwned = std::make_unique<FakeDocumentPanels>();
        panels = panelsOwned.get();
        ViewController::Dependencies dependencies;
        dependencies.documentPanels = std::move(panelsOwned);
        dependencies.shotSource = std::move(shotSource);
        dependencies.saveChangesPrompt = std::move(saveChangesPrompt);
        // The tests read the fake device right after a tick.
        dependencies.boxWriting = BoxWriter::Threading::callersThread;
        if (secretStoreForNextWindow) {
            secretStore = nullptr;
            dependencies.secretStore = std::move(secretStoreForNextWindow);
        } else {
            auto storeOwned = std::make_unique<FakeSecretStore>();
            secretStore = storeOwned.get();
            dependencies.secretStore = std::move(storeOwned);
        }
        dependencies.recentDocuments = std::make_unique<RecentDocuments>(
            recentListPath.isEmpty() ? directory.filePath(QStringLiteral("recent-documents.json")) : recentListPath);
        main = MainWindow::make(std::move(dependencies));
        controller = main.controller;
        controller->timer()->stop();
    }

    // An answer of fewer than two records counts as none, so a shot that no
    // light uses is always added.
    void answer(QList<ShotSpec> shots)
    {
        shots.append({ "99", "Unused", false, false });
        platform->answerWithNotation(shotsNotation(shots));
    }

    void tick() { controller->queryMixdeskWithTimer(controller->timer()); }

    // A shown window following a fake switcher instead of Mixdesk: Cam 1 is
    // live there, Cam 2 is not, and light 1 has Cam 1. No tick yet.
    FakeShotSource* makeWindowFollowingAFakeSwitcher()
    {
        auto owned = std::make_unique<FakeShotSource>();
        FakeShotSource* source = owned.get();
        auto live = std::make_shared<Shot>(QStringLiteral("Cam 1"));
        live->shotId = QStringLiteral("1");
        live->isLive = true;
        auto other = std::make_shared<Shot>(QStringLiteral("Cam 2"));
        other->shotId = QStringLiteral("2");
        source->shots = { live, other };
        makeWindow(std::move(owned));
        main.window->show();
        controller->document().tallyMap().setShotSelection(0, { record("Cam 1") });
        return source;
    }

    // A window (not shown yet) whose light 1 has Camera 1, live, and light 2
    // Camera 2, in preview.
    void makeWindowWithLiveAndPreview()
    {
        answer({ { "1", "Camera 1", true, false }, { "2", "Camera 2", false, true } });
        makeWindow();
        assignLiveAndPreview();
    }

    // As makeWindowWithLiveAndPreview, with Wide Shot off air on light 3
    // (beside Camera 1) and on light 4 alone.
    void makeWindowWithAStudio()
    {
        answer(
            { { "1", "Camera 1", true, false }, { "2", "Camera 2", false, true }, { "3", "Wide Shot", false, false } });
        makeWindow();
        controller->document().tallyMap().setShotSelection(2, { record("Camera 1"), record("Wide Shot") });
        controller->document().tallyMap().setShotSelection(3, { record("Wide Shot") });
        assignLiveAndPreview();
    }

    QPushButton* button(int lightNumber) const
    {
        for (QPushButton* candidate : controller->findChildren<QPushButton*>()) {
            if (candidate->property("tag").toInt() == lightNumber + 9) {
                return candidate;
            }
        }
        return nullptr;
    }

    QString writeFile(const QString& name, const QByteArray& bytes) const
    {
        const QString path = directory.filePath(name);
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
        return path;
    }

    QByteArray readFile(const QString& path) const
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
        return file.readAll();
    }

    static ShotPtr record(const QString& name) { return std::make_shared<Shot>(name); }

    QTemporaryDir directory;
    // Where Open Recent is kept; empty for a file in directory.
    QString recentListPath;
    std::shared_ptr<FakeMixdeskPlatform> platform = std::make_shared<FakeMixdeskPlatform>();
    std::shared_ptr<FakeDevice> device = std::make_shared<FakeDevice>();
    MainWindow main;
    ViewController* controller = nullptr;
    FakeDocumentPanels* panels = nullptr;
    // Where the window keeps the OBS password, owned by the window: a fake
    // unless the test gives the next window another store.
    FakeSecretStore* secretStore = nullptr;
    std::unique_ptr<SecretStore> secretStoreForNextWindow;
    // Taken by the next makeWindow; the message box when left empty.
    std::unique_ptr<SaveChangesPrompt> saveChangesPrompt;

private:
    void assignLiveAndPreview()
    {
        controller->document().tallyMap().setShotSelection(0, { record("Camera 1") });
        controller->document().tallyMap().setShotSelection(1, { record("Camera 2") });
        controller->refreshAssignmentTitles();
    }
};
