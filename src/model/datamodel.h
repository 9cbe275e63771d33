#pragma once

#include "store/entitydescription.h"

#include <memory>

// The program's data model (store version "1.1"): the entities "context", "project", "smartFolder",
// "archiveCategory" and "task", each made as its own record class. Built once and shared.
std::shared_ptr<const DataModel> managedObjectModel();

inline constexpr const char* kStoreVersionKey = "VyroStoreVersion";
inline constexpr const char* kStoreVersion = "1.1";
