#include "base/ModalSession.h"

#include <gtest/gtest.h>

TEST(ModalSessionTest, NoPanelIsUpWithoutAProbe)
{
    ModalSession::setProbe({});
    EXPECT_FALSE(ModalSession::isActive());
}

TEST(ModalSessionTest, AnswersWhatTheProbeSays)
{
    bool panelUp = true;
    ModalSession::setProbe([&panelUp] { return panelUp; });
    EXPECT_TRUE(ModalSession::isActive());
    panelUp = false;
    EXPECT_FALSE(ModalSession::isActive());
    ModalSession::setProbe({});
}
