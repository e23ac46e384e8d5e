#pragma once

#include <string>
#include <vector>

#include <QTimer>
#include <QWidget>

class QVBoxLayout;

namespace Vintrel {

class CleanedRow;
class CleanLogStore;
class FittingScrollArea;
class FlowLayout;
class TextLabel;

/// The cleaned tab: what was cleaned this week, and the most recent cleanings. It only reads, and redraws
/// when the store's events change or it is shown again.
class CleanedView : public QWidget {
    Q_OBJECT

public:
    /// The store must outlive the view.
    CleanedView(CleanLogStore& store, QWidget* parent);

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void addNothing(QVBoxLayout& layout);
    void addScrollArea(QVBoxLayout& layout);
    void addWeek(QVBoxLayout& column);
    void addRecent(QVBoxLayout& column);
    void redraw();
    void showChips(const std::vector<std::string>& texts);

    CleanLogStore& m_store;
    QTimer m_timer{this}; // runs only while the view can be seen: ages grow
    QWidget* m_nothing = nullptr;
    FittingScrollArea* m_scrollArea = nullptr;
    QWidget* m_content = nullptr;
    TextLabel* m_cleaned = nullptr;
    TextLabel* m_reclaimed = nullptr;
    QWidget* m_chips = nullptr;
    FlowLayout* m_chipsLayout = nullptr;
    std::vector<std::string> m_chipTexts;
    QWidget* m_rowList = nullptr;
    QVBoxLayout* m_rowsLayout = nullptr;
    std::vector<CleanedRow*> m_rows; // the newest first
};

} // namespace Vintrel
