#pragma once

// A main window whose segues a test watches and answers: every screen the
// controller presents is recorded as it comes up (with what the password
// dialog was prepared with), and the password dialog is answered through its
// own fields and buttons, as a user would.

#include "dialogs/PasswordViewController.h"
#include "lock/EditingLock.h"
#include "mainwindow/ViewController.h"
#include "widgets/mainwindow/MainWindowFixture.h"

#include <QAction>
#include <QApplication>
#include <QCryptographicHash>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

class SegueWidgetFixture : public MainWindowFixture {
protected:
    struct Presentation {
        QString identifier;
        QPointer<QWidget> viewController;
        // For the password dialog: what it was prepared with.
        PasswordViewController::Mode mode = PasswordViewController::Mode::set;
        QString matchPassword;
        bool confirmHidden = false;
        Qt::WindowModality modality = Qt::NonModal;
        bool wasActiveModal = false;
    };

    // Following source, or Mixdesk when none is given.
    void openWindow(std::unique_ptr<ShotSource> source = nullptr)
    {
        makeWindow(std::move(source));
        main.window->show();
        QObject::connect(&controller->segues(), &Segues::viewControllerPresented, controller,
            [this](const QString& identifier, QWidget* viewController) {
                Presentation presentation;
                presentation.identifier = identifier;
                presentation.viewController = viewController;
                presentation.modality = viewController->windowModality();
                presentation.wasActiveModal = QApplication::activeModalWidget() == viewController;
                if (auto* dialog = qobject_cast<PasswordViewController*>(viewController)) {
                    presentation.mode = dialog->mode;
                    presentation.matchPassword = dialog->matchPassword;
                    presentation.confirmHidden = dialog->confirm && dialog->confirm->isHidden();
                }
                presentations.append(presentation);
            });
    }

    qsizetype presented(const QString& identifier) const
    {
        return std::count_if(presentations.cbegin(), presentations.cend(),
            [&](const Presentation& presentation) { return presentation.identifier == identifier; });
    }

    qsizetype passwordDialogs() const { return presented(ViewController::passwordSegueIdentifier); }

    // The password dialog that is up now, if any.
    PasswordViewController* openPasswordDialog() const
    {
        for (auto it = presentations.crbegin(); it != presentations.crend(); ++it) {
            auto* dialog = qobject_cast<PasswordViewController*>(it->viewController.data());
            if (dialog != nullptr && dialog->isVisible()) {
                return dialog;
            }
        }
        return nullptr;
    }

    const Presentation& lastPasswordPresentation() const
    {
        for (auto it = presentations.crbegin(); it != presentations.crend(); ++it) {
            if (it->identifier == ViewController::passwordSegueIdentifier) {
                return *it;
            }
        }
        static const Presentation none;
        ADD_FAILURE() << "no password dialog was presented";
        return none;
    }

    // Types into the open dialog and presses OK; the confirmation only where
    // the dialog shows it.
    void typePassword(const QString& password, std::optional<QString> confirmation = std::nullopt)
    {
        PasswordViewController* dialog = openPasswordDialog();
        ASSERT_NE(dialog, nullptr) << "no password dialog is up";
        dialog->primary->setText(password);
        if (dialog->confirm && !dialog->confirm->isHidden()) {
            dialog->confirm->setText(confirmation.value_or(password));
        }
        dialog->findChild<QPushButton*>(QStringLiteral("okButton"))->click();
    }

    void cancelPassword()
    {
        PasswordViewController* dialog = openPasswordDialog();
        ASSERT_NE(dialog, nullptr) << "no password dialog is up";
        dialog->findChild<QPushButton*>(QStringLiteral("cancelButton"))->click();
    }

    void clickLock() { controller->lockTallyCheckBox()->click(); }
    bool locked() const { return controller->lockTallyCheckBox()->isChecked(); }
    QAction* requirementItem() const { return main.menu->requirePasswordAction(); }
    void chooseRequirement() { requirementItem()->trigger(); }

    // Locks with a required password "secret", the way a user sets one up.
    void requireSecret()
    {
        chooseRequirement();
        clickLock();
        typePassword(QStringLiteral("secret"));
        ASSERT_EQ(openPasswordDialog(), nullptr);
        ASSERT_TRUE(locked());
        ASSERT_EQ(controller->editingLock().unlockPasswordHash(), passwordDigest(QStringLiteral("secret")));
    }

    static QString passwordDigest(const QString& password)
    {
        return QString::fromLatin1(QCryptographicHash::hash(password.toUtf8(), QCryptographicHash::Sha256).toHex());
    }

    QList<Presentation> presentations;
};
