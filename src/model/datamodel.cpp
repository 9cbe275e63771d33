#include "model/datamodel.h"

#include "model/archivecategory.h"
#include "model/context.h"
#include "model/project.h"
#include "model/smartfolder.h"
#include "model/task.h"

namespace {

template <typename T>
EntityDescription::Factory factory()
{
    return [](const EntityDescription& e) -> std::unique_ptr<Record> { return std::make_unique<T>(e); };
}

std::shared_ptr<const DataModel> build()
{
    auto model = std::make_shared<DataModel>();
    Context::describe(model->addEntity(QStringLiteral("context"), factory<Context>()));
    Project::describe(model->addEntity(QStringLiteral("project"), factory<Project>()));
    SmartFolder::describe(model->addEntity(QStringLiteral("smartFolder"), factory<SmartFolder>()));
    ArchiveCategory::describe(model->addEntity(QStringLiteral("archiveCategory"), factory<ArchiveCategory>()));
    Task::describe(model->addEntity(QStringLiteral("task"), factory<Task>()));
    const bool ok = model->finalize();
    Q_ASSERT(ok);
    Q_UNUSED(ok);
    return model;
}

} // namespace

std::shared_ptr<const DataModel> managedObjectModel()
{
    static const std::shared_ptr<const DataModel> model = build();
    return model;
}
