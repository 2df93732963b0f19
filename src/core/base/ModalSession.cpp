#include "base/ModalSession.h"

namespace ModalSession {

namespace {

std::function<bool()>& probe()
{
    static std::function<bool()> current;
    return current;
}

} // namespace

bool isActive()
{
    return probe() && probe()();
}

void setProbe(std::function<bool()> newProbe)
{
    probe() = std::move(newProbe);
}

} // namespace ModalSession
