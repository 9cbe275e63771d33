#pragma once

#include <QAbstractListModel>
#include <QMetaObject>

#include <vector>

class ObjectContext;
class SmartFolder;
class SmartFoldersArrayController;
class TabViewController;
struct ChangeBatch;

// The smart folders as a flat list in the folder list's order ("All tasks" first), with their icons and
// editable names. It follows the store's change batches with ranged inserts, removes and moves, and a
// dataChanged for a renamed folder; only refetch() resets it.
class SmartFolderModel : public QAbstractListModel {
    Q_OBJECT
public:
    enum Role {
        RecordRole = Qt::UserRole + 1, // the folder, as a Record* in a quintptr
        UriRole,
    };

    explicit SmartFolderModel(TabViewController& views, QObject* parent = nullptr);
    ~SmartFolderModel() override;

    SmartFoldersArrayController& folders() const;
    SmartFolder* folderAt(const QModelIndex& index) const;
    QModelIndex indexOf(const SmartFolder* folder) const;
    void refetch();

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    struct Row {
        SmartFolder* folder = nullptr;
        QString name;
        QString image;
    };
    static Row read(SmartFolder* folder);
    void storeChanged(const ChangeBatch& batch);
    void reconcile();

    TabViewController& m_views;
    std::vector<Row> m_rows;
    QMetaObject::Connection m_changes;
};
