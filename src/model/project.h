#pragma once

#include "model/accessors.h"

#include <vector>

class Context;

#define VYRO_PROJECT_ATTRIBUTES(X)                                                                             \
    X(name, Name, String)                                                                                      \
    X(pathName, PathName, String)                                                                              \
    X(content, Content, String)                                                                                \
    X(active, Active, Bool)                                                                                    \
    X(completed, Completed, Bool)                                                                              \
    X(hasSingleTasks, HasSingleTasks, Bool)                                                                    \
    X(defaultTags, DefaultTags, String)

// The "project" entity: an outcome that takes several tasks. Projects form a tree.
class Project : public Record {
public:
    using Record::Record;

    struct Attr {
        enum : int { VYRO_PROJECT_ATTRIBUTES(VYRO_ATTRIBUTE_ENUM) Count };
    };
    struct Rel {
        enum : int { defaultContext, parentProject, subprojects, tasks, Count };
    };

    VYRO_PROJECT_ATTRIBUTES(VYRO_ATTRIBUTE_ACCESSORS)

    Context* defaultContext() const;
    void setDefaultContext(Context* context);
    Project* parentProject() const { return static_cast<Project*>(toOne(Rel::parentProject)); }
    void setParentProject(Project* parent) { setToOne(Rel::parentProject, parent); }
    const std::vector<Record*>& subprojects() const { return toMany(Rel::subprojects); }
    const std::vector<Record*>& tasks() const { return toMany(Rel::tasks); }

    static void describe(EntityDescription& entity);
};
