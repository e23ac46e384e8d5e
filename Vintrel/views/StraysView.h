#pragma once

#include "Vintrel/views/StraysModel.h"

#include <QTimer>
#include <QWidget>

namespace Vintrel {

class SearchField;
class StrayListView;
class TextLabel;

/// The first tab: the search field, what is wrong, and the list.
class StraysView : public QWidget {
    Q_OBJECT

public:
    StraysView(StraysModel& model, QWidget* parent);

    void focusFilter();

    /// Empties the filter; false when it was empty.
    bool clearFilter();

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void displayProblems();

    StraysModel& m_model;
    SearchField* m_search;
    TextLabel* m_problems;
    StrayListView* m_list;
    QTimer m_freeing; // of the rows, some time after nobody looks any more
};

} // namespace Vintrel
