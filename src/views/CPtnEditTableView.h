// The pattern list beside the editor: one row a pattern of the collection, in its order.
// Selecting a row makes that pattern current; rows are reordered by dragging them or with
// Alt+Up and Alt+Down; MIDI files dropped from a file manager are loaded as new patterns. After
// rows come, go or move, the current pattern's row alone is selected.
#pragma once

#include <QTableView>

#include <set>

namespace tavrel::views {

class EditHistory;
class PatternListModel;

class CPtnEditTableView : public QTableView {
    Q_OBJECT
public:
    explicit CPtnEditTableView(EditHistory& history, QWidget* parent = nullptr);

    // Shows the collection afresh (the kit names may have changed) and selects its current
    // pattern.
    void reloadData();
    std::set<std::int32_t> selectedRowIndexes() const;
    PatternListModel& listModel() const { return *mModel; }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void selectCurrentRow();
    void moveSelectedRows(int step);

    EditHistory& mHistory;
    PatternListModel* mModel;
};

}  // namespace tavrel::views
