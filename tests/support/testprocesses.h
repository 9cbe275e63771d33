#pragma once
// The application object and the helper processes of tests that run servers and event loops.

#include <QCoreApplication>
#include <QProcess>

#include <csignal>

#include <sys/prctl.h>

// Event loops and network replies need an application object; the tests of one executable share it.
inline void ensureApplication()
{
    static int argc = 1;
    static char name[] = "vyro_tests";
    static char* argv[] = {name, nullptr};
    if (!QCoreApplication::instance())
        new QCoreApplication(argc, argv);
}

// Servers started by a test end with it, even when the test process dies first.
inline void endWithParent(QProcess& process)
{
    process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
}
