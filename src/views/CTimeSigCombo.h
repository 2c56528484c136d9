// The time signature box of the pattern header: the signatures a pattern can take, in a
// fixed order. Choosing one re-fits every variation's window to the new bar length, as one
// step of the edit history.
#pragma once

#include <QComboBox>

#include <cstdint>

namespace tavrel::views {

class EditHistory;

class CTimeSigCombo : public QComboBox {
    Q_OBJECT
public:
    explicit CTimeSigCombo(EditHistory& history, QWidget* parent = nullptr);

    // Selects the current pattern's signature; one that is not in the list selects nothing.
    void update();

private:
    void comboBoxSelectionDidChange(int index);

    EditHistory& mHistory;
};

}  // namespace tavrel::views
