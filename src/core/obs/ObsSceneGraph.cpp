#include "obs/ObsSceneGraph.h"

#include <QSet>

void ObsSceneGraph::setScenes(const QList<Scene>& scenes)
{
    m_scenes = scenes;
}

void ObsSceneGraph::setInputs(const QList<Input>& inputs)
{
    m_inputs = inputs;
}

void ObsSceneGraph::setItems(const QString& containerName, const QList<Item>& items)
{
    m_items.insert(containerName, items);
}

bool ObsSceneGraph::setItemEnabled(const QString& containerName, qint64 itemId, bool enabled)
{
    const auto container = m_items.find(containerName);
    if (container == m_items.end()) {
        return false;
    }
    for (Item& item : *container) {
        if (item.itemId == itemId && item.enabled != enabled) {
            item.enabled = enabled;
            return true;
        }
    }
    return false;
}

void ObsSceneGraph::renameSource(const QString& oldName, const QString& newName)
{
    if (oldName == newName) {
        return;
    }
    // The id it had under its old name, or the old name itself: that is the
    // id the lights know it by.
    const QString carried = m_carriedIds.take(oldName);
    m_carriedIds.insert(newName, carried.isEmpty() ? oldName : carried);
    for (Scene& scene : m_scenes) {
        if (scene.name == oldName) {
            scene.name = newName;
        }
    }
    for (Input& input : m_inputs) {
        if (input.name == oldName) {
            input.name = newName;
        }
    }
    if (m_items.contains(oldName)) {
        m_items.insert(newName, m_items.take(oldName));
    }
    for (QList<Item>& items : m_items) {
        for (Item& item : items) {
            if (item.sourceName == oldName) {
                item.sourceName = newName;
            }
        }
    }
    if (m_programScene == oldName) {
        m_programScene = newName;
    }
    if (m_previewScene == oldName) {
        m_previewScene = newName;
    }
}

void ObsSceneGraph::clearContents()
{
    m_scenes.clear();
    m_inputs.clear();
    m_items.clear();
}

void ObsSceneGraph::setOutputActive(OnAirShot::Output output, bool active)
{
    switch (output) {
    case OnAirShot::Output::recording:
        m_recording = active;
        break;
    case OnAirShot::Output::streaming:
        m_streaming = active;
        break;
    case OnAirShot::Output::virtualCamera:
        m_virtualCamera = active;
        break;
    }
}

bool ObsSceneGraph::isOutputActive(OnAirShot::Output output) const
{
    switch (output) {
    case OnAirShot::Output::recording:
        return m_recording;
    case OnAirShot::Output::streaming:
        return m_streaming;
    case OnAirShot::Output::virtualCamera:
        return m_virtualCamera;
    }
    return false;
}

QString ObsSceneGraph::idFor(const QString& name, const QString& uuid) const
{
    return OnAirShot::pictureId(!uuid.isEmpty() ? uuid : m_carriedIds.value(name, name));
}

ShotList ObsSceneGraph::shots() const
{
    const QSet<QString> onProgram = m_programScene.isEmpty() ? QSet<QString>() : visibleSources(m_programScene);
    const bool hasPreview = m_studioMode && !m_previewScene.isEmpty();
    const QSet<QString> inPreview = hasPreview ? visibleSources(m_previewScene) : QSet<QString>();

    ShotList shots;
    shots.reserve(m_scenes.size() + m_inputs.size() + 3);
    for (const Scene& scene : m_scenes) {
        auto shot = std::make_shared<Shot>(scene.name);
        shot->shotId = idFor(scene.name, scene.uuid);
        shot->isLive = scene.name == m_programScene;
        shot->isPreview = hasPreview && scene.name == m_previewScene;
        shots.append(shot);
    }
    for (const Input& input : m_inputs) {
        auto shot = std::make_shared<Shot>(input.name);
        shot->shotId = idFor(input.name, input.uuid);
        shot->isLive = onProgram.contains(input.name);
        shot->isPreview = inPreview.contains(input.name);
        shots.append(shot);
    }
    for (const OnAirShot::Output output :
        { OnAirShot::Output::recording, OnAirShot::Output::streaming, OnAirShot::Output::virtualCamera }) {
        shots.append(OnAirShot::make(output, isOutputActive(output)));
    }
    return shots;
}

QSet<QString> ObsSceneGraph::visibleSources(const QString& sceneName) const
{
    // A stack of its own rather than recursion: the nesting comes from the
    // network, and a hundred thousand levels of it must not end the program.
    QSet<QString> seen;
    QSet<QString> walked;
    QList<QString> toWalk { sceneName };
    while (!toWalk.isEmpty()) {
        const QString containerName = toWalk.takeLast();
        if (walked.contains(containerName)) {
            continue; // already walked, or a scene that holds itself
        }
        walked.insert(containerName);
        const auto container = m_items.constFind(containerName);
        if (container == m_items.constEnd()) {
            continue;
        }
        for (const Item& item : *container) {
            if (!item.enabled) {
                continue; // a hidden item hides all it holds
            }
            seen.insert(item.sourceName);
            toWalk.append(item.sourceName);
        }
    }
    return seen;
}
