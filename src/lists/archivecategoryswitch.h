#pragma once

class ArchiveCategory;
class TabViewController;
class Task;

// The archive tree's counterpart of switchToGivenContext: selects `category` in the archive category list
// and `task` in its entries; with switchTab the archive view comes forward with the task table focused.
void switchToGivenArchiveCategory(TabViewController& views, ArchiveCategory* category, Task* task, bool switchTab);
