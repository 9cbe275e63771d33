// Any line through the quick-entry reader: no crash, no hang, no sanitizer report.

#include "capture/tasknameanalyzer.h"
#include "model/context.h"
#include "model/datamodel.h"
#include "model/modelenvironment.h"
#include "model/project.h"
#include "store/log.h"
#include "store/objectcontext.h"

#include <cstdio>

namespace {

ObjectContext& store()
{
    static ObjectContext* context = [] {
        setLogSink(std::fopen("/dev/null", "w"));
        auto* c = new ObjectContext(managedObjectModel());
        ModelEnvironment::of(*c).setClock([] { return QDateTime(QDate(2026, 11, 22), QTime(10, 30)); });
        for (const char* name : {"Home", "home office", "Calls", "@weird [name]", ""})
            c->insertNewObject<Context>(QStringLiteral("context"))->setName(QString::fromUtf8(name));
        for (const char* name : {"Holiday", "*", "Garden?", "x"})
            c->insertNewObject<Project>(QStringLiteral("project"))->setName(QString::fromUtf8(name));
        return c;
    }();
    return *context;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString line = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    if (line.isEmpty())
        return 0;
    TaskNameAnalyzer(store()).parseTaskName(line);
    return 0;
}
