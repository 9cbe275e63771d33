// vyro-generate-store PATH [TASKS]: writes a generated data file for trying the program or the
// benchmarks on a large collection.

#include "storegenerator.h"

#include <QElapsedTimer>

#include <cstdio>
#include <cstdlib>
#include <cstring>

int main(int argc, char** argv)
{
    if (argc < 2 || argc > 3 || std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0) {
        std::fprintf(stderr, "usage: %s PATH [TASKS]\n"
                             "Writes a new Vyro data file at PATH with TASKS tasks (default 100000).\n",
                     argv[0]);
        return 2;
    }
    GeneratorOptions options;
    if (argc == 3) {
        char* end = nullptr;
        const long tasks = std::strtol(argv[2], &end, 10);
        if (*argv[2] == '\0' || *end != '\0' || tasks < 0 || tasks > 10'000'000) {
            std::fprintf(stderr, "%s: TASKS must be a number from 0 to 10000000\n", argv[0]);
            return 2;
        }
        options.tasks = int(tasks);
    }

    QElapsedTimer timer;
    timer.start();
    GeneratedStoreInfo info;
    const Status status = generateStore(QString::fromLocal8Bit(argv[1]), options, &info);
    if (!status.isOk()) {
        std::fprintf(stderr, "%s: %s\n", argv[0], qPrintable(status.toString()));
        return 1;
    }
    std::printf("Wrote %s in %.1f s: %d tasks, %d contexts, %d projects\n"
                "Pinned context \"%s\": %d tasks, %d pending\n",
                argv[1], double(timer.elapsed()) / 1000.0, info.tasks, info.contexts, info.projects,
                qPrintable(info.pinnedContextPath), info.pinnedContextTasks, info.pinnedContextPendingTasks);
    return 0;
}
