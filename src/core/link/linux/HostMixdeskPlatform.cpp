#include "link/MixdeskPlatform.h"
#include "link/linux/LinuxMixdeskPlatform.h"

std::shared_ptr<MixdeskPlatform> makeHostMixdeskPlatform()
{
    return std::make_shared<LinuxMixdeskPlatform>();
}
