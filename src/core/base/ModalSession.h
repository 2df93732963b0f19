#pragma once

#include <functional>

// Whether an application-modal panel (password dialog, test panel, file
// panel) is up. The update tick waits while one is, and the test chase steps
// only while one is. tallycore has no windows, so the widget layer installs
// the probe; without one no panel is ever up.
namespace ModalSession {

bool isActive();
void setProbe(std::function<bool()> probe);

} // namespace ModalSession
