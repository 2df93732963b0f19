#include "outputs/MosquittoLibrary.h"

#include <gtest/gtest.h>

#include <mqtt_protocol.h>

TEST(MosquittoLibraryTest, TheSystemsLibraryIsOpenedWithEveryFunctionTheClientCalls)
{
    const MosquittoLibrary& library = MosquittoLibrary::shared();

    ASSERT_TRUE(library.isLoaded()) << library.problem().toStdString();
    EXPECT_TRUE(library.problem().isEmpty());
    // The library's own words, so the calls reach the real functions.
    EXPECT_STREQ(library.strerror(MOSQ_ERR_NO_CONN), "The client is not currently connected.");
    EXPECT_STREQ(library.connackString(CONNACK_REFUSED_NOT_AUTHORIZED), "Connection Refused: not authorised.");
}

TEST(MosquittoLibraryTest, TheSameLibraryIsGivenToEveryClient)
{
    EXPECT_EQ(&MosquittoLibrary::shared(), &MosquittoLibrary::shared());
}

TEST(MosquittoLibraryTest, ALibraryThatCannotBeFoundIsNamedInTheProblem)
{
    const MosquittoLibrary library(QStringLiteral("mosquitto-not-installed"), 1);

    EXPECT_FALSE(library.isLoaded());
    EXPECT_TRUE(
        library.problem().startsWith(QStringLiteral("MQTT needs the library libmosquitto, which cannot be loaded: ")))
        << library.problem().toStdString();
    EXPECT_TRUE(library.problem().contains(QStringLiteral("mosquitto-not-installed")))
        << library.problem().toStdString();
}

TEST(MosquittoLibraryTest, ALibraryWithoutTheClientsFunctionsIsRefusedNamingTheFirstMissing)
{
    // zlib is on every machine this builds on, and has none of them.
    const MosquittoLibrary library(QStringLiteral("z"), 1);

    EXPECT_FALSE(library.isLoaded());
    EXPECT_TRUE(library.problem().startsWith(QStringLiteral("MQTT needs the library libmosquitto, and ")))
        << library.problem().toStdString();
    EXPECT_TRUE(library.problem().endsWith(QStringLiteral(" lacks its function mosquitto_lib_init")))
        << library.problem().toStdString();
}
