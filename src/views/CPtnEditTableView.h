// The pattern list beside the editor. For now a plain table of the collection's patterns
// (number, name, kit, tempo, time signature) with multiple selection; the sortable table with
// row drags and MIDI file drops takes its place in the same spot of the window.
#pragma once

#include <QTreeWidget>

#include <set>

namespace tavrel::views {

class EditHistory;

class CPtnEditTableView : public QTreeWidget {
    Q_OBJECT
public:
    explicit CPtnEditTableView(EditHistory& history, QWidget* parent = nullptr);

    // Shows the collection afresh and selects its current pattern.
    void reloadData();
    std::set<std::int32_t> selectedRowIndexes() const;
    // The kit's name as the unit reported it, else its number from 1.
    static QString kitName(std::int32_t kit);

private:
    EditHistory& mHistory;
};

}  // namespace tavrel::views
