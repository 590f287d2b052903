#pragma once

#include "support/wait_until.h"
#include "support/x_server.h"

#include <QString>
#include <QStringList>

namespace tavlo {

// The display of this test program, which its toolkit uses too. It has no window manager unless a test starts one.
XServer& testServer();

// Runs a command on the test's display to its end; fails the test when it does not end well.
void run(const QString& program, const QStringList& arguments);
// Sets the keyboard of the test's display, as `setxkbmap` does.
void setKeyboard(const QStringList& arguments);

}  // namespace tavlo
