#pragma once

#include "model/accessors.h"

#include <vector>

#define VYRO_ARCHIVECATEGORY_ATTRIBUTES(X) X(name, Name, String)

// The "archiveCategory" entity: a folder of the archive tree.
class ArchiveCategory : public Record {
public:
    using Record::Record;

    struct Attr {
        enum : int { VYRO_ARCHIVECATEGORY_ATTRIBUTES(VYRO_ATTRIBUTE_ENUM) Count };
    };
    struct Rel {
        enum : int { parentCategory, subcategories, tasks, Count };
    };

    VYRO_ARCHIVECATEGORY_ATTRIBUTES(VYRO_ATTRIBUTE_ACCESSORS)

    ArchiveCategory* parentCategory() const { return static_cast<ArchiveCategory*>(toOne(Rel::parentCategory)); }
    void setParentCategory(ArchiveCategory* parent) { setToOne(Rel::parentCategory, parent); }
    const std::vector<Record*>& subcategories() const { return toMany(Rel::subcategories); }
    const std::vector<Record*>& tasks() const { return toMany(Rel::tasks); }

    static void describe(EntityDescription& entity);
};
