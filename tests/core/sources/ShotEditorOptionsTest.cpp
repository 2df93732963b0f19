#include "sources/ShotEditorOptions.h"

#include <gtest/gtest.h>

TEST(ShotEditorOptionsTest, OnlyMixdeskHasEmptyLayersToHide)
{
    EXPECT_TRUE(ShotEditorOptions::forSource(ShotSource::Kind::mixdesk).emptyLayers);
    for (const ShotSource::Kind kind :
        { ShotSource::Kind::obsStudio, ShotSource::Kind::tslUmd, ShotSource::Kind::atem, ShotSource::Kind::vmix }) {
        EXPECT_FALSE(ShotEditorOptions::forSource(kind).emptyLayers) << static_cast<int>(kind);
    }
}

TEST(ShotEditorOptionsTest, ASourceWithoutTheOptionListsEveryShotWhateverWasStored)
{
    const ShotEditorOptions mixdesk = ShotEditorOptions::forSource(ShotSource::Kind::mixdesk);
    EXPECT_TRUE(mixdesk.listsEmptyLayers(true));
    EXPECT_FALSE(mixdesk.listsEmptyLayers(false));
    const ShotEditorOptions atem = ShotEditorOptions::forSource(ShotSource::Kind::atem);
    EXPECT_TRUE(atem.listsEmptyLayers(true));
    EXPECT_TRUE(atem.listsEmptyLayers(false));
}
