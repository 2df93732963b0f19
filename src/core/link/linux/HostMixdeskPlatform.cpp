#include "link/linux/LinuxMixdeskPlatform.h"
#include "link/MixdeskPlatform.h"

std::shared_ptr<MixdeskPlatform> makeHostMixdeskPlatform()
{
    return std::make_shared<LinuxMixdeskPlatform>();
}
