#include "ui/models/smartfoldermodel.h"

#include "lists/smartfoldersarraycontroller.h"
#include "lists/tabviewcontroller.h"
#include "model/smartfolder.h"
#include "model/transformers.h"
#include "store/objectcontext.h"
#include "store/undostack.h"
#include "ui/icons.h"

#include <algorithm>
#include <unordered_map>

SmartFolderModel::SmartFolderModel(TabViewController& views, QObject* parent) : QAbstractListModel(parent), m_views(views)
{
    for (SmartFolder* f : folders().arrangedObjects())
        m_rows.push_back(read(f));
    m_changes = connect(&views.store(), &ObjectContext::objectsDidChange, this, &SmartFolderModel::storeChanged);
}

SmartFolderModel::~SmartFolderModel()
{
    disconnect(m_changes);
}

SmartFoldersArrayController& SmartFolderModel::folders() const
{
    return m_views.smartFolderController();
}

SmartFolderModel::Row SmartFolderModel::read(SmartFolder* folder)
{
    return {folder, folder->name(), Transformers::smartFolderImage(folder)};
}

void SmartFolderModel::refetch()
{
    beginResetModel();
    m_rows.clear();
    for (SmartFolder* f : folders().arrangedObjects())
        m_rows.push_back(read(f));
    endResetModel();
}

void SmartFolderModel::storeChanged(const ChangeBatch& batch)
{
    auto ours = [](const std::vector<Record*>& records) {
        return std::any_of(records.begin(), records.end(), [](Record* r) { return r->entity().name() == QLatin1String("smartFolder"); });
    };
    if (ours(batch.inserted) || ours(batch.deleted) || ours(batch.updated))
        reconcile();
}

void SmartFolderModel::reconcile()
{
    const std::vector<SmartFolder*> wanted = folders().arrangedObjects();
    std::unordered_map<const SmartFolder*, int> place;
    for (size_t i = 0; i < wanted.size(); ++i)
        place[wanted[i]] = int(i);
    // Folders that have gone leave where they stand, runs of them at once.
    for (int last = int(m_rows.size()) - 1; last >= 0;) {
        if (place.count(m_rows[size_t(last)].folder)) {
            --last;
            continue;
        }
        int first = last;
        while (first > 0 && !place.count(m_rows[size_t(first - 1)].folder))
            --first;
        beginRemoveRows({}, first, last);
        m_rows.erase(m_rows.begin() + first, m_rows.begin() + last + 1);
        endRemoveRows();
        last = first - 1;
    }
    size_t pushes = 0;
    for (size_t i = 0; i < wanted.size();) {
        const int row = int(i);
        if (i < m_rows.size() && m_rows[i].folder == wanted[i]) {
            ++i;
            continue;
        }
        // The row here belongs further down while the next one is the wanted one: it is the folder that
        // moved (a rename), so it goes down to its place in one step.
        if (i + 1 < m_rows.size() && m_rows[i + 1].folder == wanted[i] && pushes < wanted.size()) {
            const int to = std::min(place[m_rows[i].folder], int(m_rows.size()) - 1);
            if (to > row) {
                ++pushes;
                beginMoveRows({}, row, row, {}, to + 1);
                Row moved = std::move(m_rows[i]);
                m_rows.erase(m_rows.begin() + row);
                m_rows.insert(m_rows.begin() + to, std::move(moved));
                endMoveRows();
                continue;
            }
        }
        // Rows before `row` are already the wanted ones: the folder, when shown, stands after it.
        auto it = std::find_if(m_rows.begin() + qsizetype(std::min(i, m_rows.size())), m_rows.end(), [&](const Row& r) { return r.folder == wanted[i]; });
        if (it == m_rows.end()) {
            beginInsertRows({}, row, row);
            m_rows.insert(m_rows.begin() + row, read(wanted[i]));
            endInsertRows();
        } else {
            const int from = int(it - m_rows.begin());
            beginMoveRows({}, from, from, {}, row);
            Row moved = std::move(*it);
            m_rows.erase(it);
            m_rows.insert(m_rows.begin() + row, std::move(moved));
            endMoveRows();
        }
        ++i;
    }
    for (size_t i = 0; i < m_rows.size(); ++i) {
        Row now = read(m_rows[i].folder);
        if (now.name != m_rows[i].name || now.image != m_rows[i].image) {
            m_rows[i] = std::move(now);
            Q_EMIT dataChanged(index(int(i)), index(int(i)));
        }
    }
}

SmartFolder* SmartFolderModel::folderAt(const QModelIndex& index) const
{
    if (!index.isValid() || index.parent().isValid() || size_t(index.row()) >= m_rows.size())
        return nullptr;
    return m_rows[size_t(index.row())].folder;
}

QModelIndex SmartFolderModel::indexOf(const SmartFolder* folder) const
{
    auto it = std::find_if(m_rows.begin(), m_rows.end(), [&](const Row& r) { return r.folder == folder; });
    return it == m_rows.end() ? QModelIndex() : index(int(it - m_rows.begin()));
}

int SmartFolderModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant SmartFolderModel::data(const QModelIndex& index, int role) const
{
    SmartFolder* folder = folderAt(index);
    if (!folder)
        return {};
    const Row& row = m_rows[size_t(index.row())];
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
    case Qt::AccessibleTextRole:
        return row.name;
    case Qt::DecorationRole:
        return vyroIcon(row.image);
    case RecordRole:
        return QVariant::fromValue(quintptr(folder));
    case UriRole:
        return folder->uri();
    default:
        return {};
    }
}

bool SmartFolderModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    SmartFolder* folder = folderAt(index);
    if (!folder || role != Qt::EditRole)
        return false;
    {
        UndoGrouping group(m_views.store().undoManager(), tr("Rename Smart Folder"));
        folder->setName(value.toString());
    }
    m_views.store().processPendingChanges();
    return true;
}

Qt::ItemFlags SmartFolderModel::flags(const QModelIndex& index) const
{
    if (!folderAt(index))
        return Qt::NoItemFlags;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsEditable | Qt::ItemNeverHasChildren;
}
