#include "ApplicationGuard.h"

#include <QApplication>

namespace oquivran {

bool ApplicationGuard::ensure()
{
    if (!QCoreApplication::instance()) {
        static int argc = 1;
        static char name[] = "oquivran";
        static char* argv[] = {name, nullptr};
        // Kept for the life of the process: the host never sees it and destroying it at exit
        // would race with the host's own teardown.
        new QApplication(argc, argv);
    }
    return qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr;
}

} // namespace oquivran
