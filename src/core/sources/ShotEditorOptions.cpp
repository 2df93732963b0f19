#include "sources/ShotEditorOptions.h"

ShotEditorOptions ShotEditorOptions::forSource(ShotSource::Kind kind)
{
    ShotEditorOptions options;
    options.emptyLayers = kind == ShotSource::Kind::mixdesk;
    return options;
}
