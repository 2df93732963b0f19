#pragma once

#include "sources/ShotSource.h"

// The shot editor's options that belong to one kind of source, so that the
// editor offers only those that mean something for the switcher the lights
// follow.
struct ShotEditorOptions {
    // "Show empty layers": a Mixdesk layer with nothing on it is reported as
    // a shot named "… Clear Layer", which the editor may hide. No other
    // source has such shots: it gets no such option, and a scene or input
    // that happens to end in those words is listed like any other.
    bool emptyLayers = false;

    static ShotEditorOptions forSource(ShotSource::Kind kind);

    // Whether the editor lists the empty layers, given the stored choice;
    // a source without the option lists every shot it reports.
    bool listsEmptyLayers(bool showEmptyLayers) const { return !emptyLayers || showEmptyLayers; }
};
