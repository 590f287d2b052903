#pragma once

#include "platform/desktop.h"

#include <QString>

#include <memory>

namespace tavlo {

// The desktop of this session: the one place that chooses among the backends. Never null: where there is nothing that
// could be used, the result says why. Needs the application object; main thread.
std::unique_ptr<Desktop> makeDesktop();

// One line for the log: what serves which capability, in the log's language.
QString describeServices(Desktop& desktop);

}  // namespace tavlo
