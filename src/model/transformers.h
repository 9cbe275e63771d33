#pragma once

#include <QString>

#include <optional>

class Task;
class SmartFolder;

// The image names the views show for model values (empty: no image). Kept beside the model so that the
// command line and the tables name the same files.
namespace Transformers {
// ContextImageTransformer: the icon for a context's displaySpecialIndex.
QString contextImage(std::optional<qint64> specialIndex);
// ProjectImageTransformer: every project row has the same icon.
QString projectImage();
// SmartFolderImageTransformer.
QString smartFolderImage(const SmartFolder* folder);
// TaskStatusFlagTransformer: status 5 deliberately shows the pending image.
QString taskStatusImage(std::optional<int> status);
// TaskImageTransformer: a link's icon.
QString linkImage(const QString& link);
// TaskFlagTransformer, TaskContextFlagTransformer, TaskProjectFlagTransformer, TaskUnreadFlagTransformer.
QString taskFlagImage(const Task* task);
QString taskContextFlagImage(const Task* task);
QString taskProjectFlagImage(const Task* task);
QString unreadImage(bool unread);
} // namespace Transformers
