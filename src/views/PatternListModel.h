// The collection's patterns as the rows of the pattern list (name, kit, tempo, time signature,
// bars), and the drags and drops the list takes: its own rows to reorder, MIDI files to load.
// It follows the collection's change records row by row and keeps its own copy of the row
// order, so a view never sees a row count that the model's signals have not announced yet, even
// while the collection posts on its way through a change.
#pragma once

#include "model/CPatternMgr.h"
#include "model/NotificationCenter.h"

#include <QAbstractTableModel>

#include <deque>
#include <string>

namespace tavrel::views {

class EditHistory;

class PatternListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    enum Column { Name, Kit, Bpm, TimeSig, Bars, ColumnCount };
    // What a drag of the list's own rows carries: the dragged row numbers.
    static constexpr const char* kRowsMimeType = "AppListTableViewDataType";
    // The unit's store: no file is loaded and no row dragged once the list holds this many.
    static constexpr std::size_t kMaxPatterns = 50;

    explicit PatternListModel(EditHistory& history, QObject* parent = nullptr);

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    QStringList mimeTypes() const override;
    // Null, which refuses the drag, once the list is full.
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override;
    Qt::DropActions supportedDropActions() const override;
    // Files first: when the data names any, the MIDI files among them are loaded in order while
    // the list has room; else dragged rows move before `row` (the end when -1).
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

    // Catches up with the collection and redraws every row, for changes that post nothing: the
    // kit names read from the unit.
    void refresh();
    // True while rows are being inserted, removed or moved: a view's current row moves with
    // them then, which is no choice of the user's.
    bool applying() const { return mApplying; }

signals:
    // A change record was taken in; `rowsChanged` when rows came, went or moved.
    void changeApplied(bool rowsChanged);

private:
    void loadDroppedFiles();
    void take(const PatternChange* change);
    bool takeInserted(std::int32_t row);
    bool takeRemoved(std::vector<std::int32_t> rows);
    bool takeMoved();
    void rowChanged(std::int32_t row);
    void resync();

    EditHistory& mHistory;
    CPatternMgr::PatternList mRows;
    bool mApplying = false;
    // MIDI files dropped and not yet loaded, in the order they came.
    std::deque<std::string> mDroppedFiles;
    bool mLoadingFiles = false;
    NotificationCenter::Token mChanged;
    NotificationCenter::Token mKitChanged;
};

}  // namespace tavrel::views
