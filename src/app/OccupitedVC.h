// Another editor holds the unit. The user closes it there and connects again, or quits.
#pragma once

#include "app/ConnectionDialog.h"

namespace tavrel::app {

class OccupitedVC : public ConnectionDialog {
    Q_OBJECT
public:
    OccupitedVC(AppSession& session, CPtnEditViewController& window);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void onConnect();
};

}  // namespace tavrel::app
