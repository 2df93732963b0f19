#pragma once

#include "model/OnAirShot.h"
#include "model/Shot.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

// What OBS Studio shows now, as far as the lights care: its scenes, its
// inputs (cameras, media, captures), what each scene and group holds, which
// scene is on program and which in preview. From that it answers the one
// question the lights ask of a switcher, the shot list.
//
// Every scene is a shot, live on program and in preview while studio mode is
// on. Every input is a shot too, live while it can be seen on program, which
// may be through nested scenes and groups, so a camera's light follows the
// camera whichever scene carries it. A hidden item hides everything under it.
//
// Shots keep their id through renames: the id is the UUID the server reports
// or, without one, the first name this graph knew the scene or input by, so
// a light assigned to "Camera 2" stays with it when it becomes "Cam 2". An
// id that would open with OnAirShot::idMark gets a second one in front, so
// no scene or input shares an id with an output.
//
// After the scenes and inputs come OBS's three outputs, "Recording",
// "Streaming" and "Virtual Camera" (OnAirShot), each live while it is
// active, starting included.
class ObsSceneGraph {
public:
    struct Scene {
        QString name;
        QString uuid; // empty where the server reports none
    };
    struct Input {
        QString name;
        QString uuid;
    };
    // One item of a scene or group: a source placed in it.
    struct Item {
        qint64 itemId = 0;
        QString sourceName;
        bool enabled = true;
    };

    // Scenes and inputs in the switcher's order. Setting them drops what
    // was known of scenes and inputs before; item lists stay until replaced.
    void setScenes(const QList<Scene>& scenes);
    void setInputs(const QList<Input>& inputs);
    // The items of a scene or a group (groups share the scenes' names space).
    void setItems(const QString& containerName, const QList<Item>& items);
    // Whether it changed anything.
    bool setItemEnabled(const QString& containerName, qint64 itemId, bool enabled);

    void setProgramScene(const QString& sceneName) { m_programScene = sceneName; }
    void setPreviewScene(const QString& sceneName) { m_previewScene = sceneName; }
    void setStudioMode(bool enabled) { m_studioMode = enabled; }
    const QString& programScene() const { return m_programScene; }
    const QString& previewScene() const { return m_previewScene; }
    bool studioMode() const { return m_studioMode; }

    // Whether an output is active; all are off until set.
    void setOutputActive(OnAirShot::Output output, bool active);
    bool isOutputActive(OnAirShot::Output output) const;

    // A scene, input or group was renamed: everything that names it follows
    // and its shot keeps its id.
    void renameSource(const QString& oldName, const QString& newName);

    // Drops scenes, inputs and items, but keeps the outputs' states and the ids that renames have
    // carried, so a re-read of the same OBS session gives the same ids.
    void clearContents();

    // Scenes first, then inputs, each in the switcher's order, then the
    // outputs.
    ShotList shots() const;

    // The names of the sources seen through sceneName: the scene's enabled
    // items, and for an item that is a scene or group, what is seen in it.
    // A scene that (through others) contains itself is walked once.
    QSet<QString> visibleSources(const QString& sceneName) const;

private:
    QString idFor(const QString& name, const QString& uuid) const;

    QList<Scene> m_scenes;
    QList<Input> m_inputs;
    QHash<QString, QList<Item>> m_items;
    // Current name -> the id the shot has had since first seen.
    QHash<QString, QString> m_carriedIds;
    QString m_programScene;
    QString m_previewScene;
    bool m_studioMode = false;
    bool m_recording = false;
    bool m_streaming = false;
    bool m_virtualCamera = false;
};
