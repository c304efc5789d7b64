#pragma once

#include <QStringList>

/// What the test program does when a test starts it as another process of the application.
namespace orvo::test {

/// Takes the library `arguments[0]` and says "first" and stays, or hands the other arguments over and says "handed over" or
/// "no answer".
int runSingleInstance(const QStringList& arguments);

/// Opens the project `arguments[1]` of the library `arguments[0]` and edits it without end, with up to `arguments[2]`
/// milliseconds between two edits. Edit number N sets the title to N and adds the Nth zoom point. Says "made N" after each
/// and "safe N" when it is on disk.
int runEdits(const QStringList& arguments);

} // namespace orvo::test
