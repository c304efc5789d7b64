#pragma once

#include <QStringList>

/// Entry points of the test program when a test starts it as another process of the application.
namespace orvo::test {

/// Takes the library `arguments[0]`, prints "first" and keeps running, or hands the other arguments over and prints "handed
/// over" or "no answer".
int runSingleInstance(const QStringList& arguments);

/// Opens the project `arguments[1]` of the library `arguments[0]` and edits it until killed, with up to `arguments[2]`
/// milliseconds between two edits. Edit number N sets the title to N and adds the Nth zoom point. Prints "made N" after the
/// edit and "safe N" when it is saved.
int runEdits(const QStringList& arguments);

} // namespace orvo::test
