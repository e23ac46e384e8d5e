#pragma once

#include "Vintrel/views/StrayRow.h"
#include "Vintrel/views/StraysModel.h"
#include "Vintrel/views/parts/AccessibleRole.h"

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <QWidget>

class QAbstractButton;
class QScrollArea;

namespace Vintrel {

class PushButton;
class GroupHeader;
class SectionHeader;
class Separator;
class TextLabel;

/// The sections, groups and rows of the strays, one below the other. What changes is merged into what is
/// there: rows keep their widgets, and with them the focus, as long as their process is listed.
///
/// Many rows are built a few hundred at a time, more of them as the user scrolls down.
class StrayListView : public QWidget, public ReadInOrder {
    Q_OBJECT

public:
    StrayListView(StraysModel& model, QWidget* parent);

    /// Where this scrolls, so that what has the focus can be brought into view.
    void setScrollArea(QScrollArea* scrollArea);

    /// Merges the model's rows into those shown; later, while one of them is being pressed.
    void refresh();

    /// The whole list stands elsewhere now.
    void noteAllMoved();

    /// Gives the rows' memory back. The next refresh builds them anew.
    void freeRows();

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] int heightForWidth(int width) const override;

    [[nodiscard]] bool hasHeightForWidth() const override { return true; }

    [[nodiscard]] const std::vector<QWidget*>& readingOrder() const override { return m_entries; }

    /// Rows that are built at first, and in each further step.
    static constexpr size_t rowsAtATime = 200;

    /// Rows that are built for another filter: more than is seen at once, and few enough for each keystroke.
    static constexpr size_t rowsWhileTyping = 24;

signals:
    /// The rows are about to be brought up to date.
    void merging();

protected:
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    /// An entry and how far below the upper edge of what is seen it stands.
    struct Anchor {
        QWidget* entry = nullptr;
        int offset = 0;
    };

    using GroupKey = std::pair<VintrelCore::Bucket, VintrelCore::ProcessKind>;

    [[nodiscard]] const QAbstractButton* pressedButton() const;
    void merge();
    void followFilter();
    void displaySafeHeader(const StraysModel::Section& section);
    void addGroups(const StraysModel::Section& section);
    void addGroup(VintrelCore::Bucket bucket, const StraysModel::Group& group);
    void addMoreRow();
    void place(QWidget* widget);
    void showMore();
    void discard(const std::vector<QWidget*>& before);
    void arrange();
    [[nodiscard]] std::vector<Anchor> anchors(const std::vector<QWidget*>& entries) const;
    void keepInView(const std::vector<Anchor>& anchors);
    void chainFocus();
    [[nodiscard]] static QWidget* entryWithFocus(const std::vector<QWidget*>& entries);
    void moveFocusOffWhatGoes(const std::vector<QWidget*>& before);
    bool focusEntry(QWidget* entry, StrayRow::Column column);
    void moveFocusVertically(int step);

    StraysModel& m_model;
    QScrollArea* m_scrollArea = nullptr;
    std::vector<QWidget*> m_entries; // from top to bottom
    std::map<StraysModel::RowKey, StrayRow*> m_rows;
    std::map<GroupKey, GroupHeader*> m_groups;
    SectionHeader* m_safeHeader;
    SectionHeader* m_reviewHeader;
    Separator* m_separator;
    TextLabel* m_empty;
    PushButton* m_more;
    size_t m_rowLimit = rowsAtATime;
    std::string m_filterText; // of the last merge
    size_t m_rowCount = 0;    // of those the model has, also beyond the limit
    StrayRow::Column m_column = StrayRow::Column::info;
    StraysModel::Items m_sweepable; // what "Clean all" stands beside
    bool m_hadRows = false;         // before the last merge
    bool m_isStale = true;
};

} // namespace Vintrel
