#pragma once

#include "platform/desktop.h"

#include <QString>

#include <memory>
#include <vector>

namespace tavlo {

// Has the toolkit show its windows through Xwayland where a Wayland session has it: only so can the overlays be placed.
// Gives the arguments for it, of which the program has no other. To be called before the application object is made.
std::vector<char*> toolkitArguments(char* program);

// The desktop of this session: the one place that chooses among the backends. Never null: where there is nothing that
// could be used, the result says why. Needs the application object; main thread.
std::unique_ptr<Desktop> makeDesktop();

// One line for the log: what serves which capability, in the log's language.
QString describeServices(Desktop& desktop);

}  // namespace tavlo
