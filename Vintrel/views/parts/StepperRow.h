#pragma once

#include <functional>
#include <optional>

#include <QString>
#include <QWidget>

namespace Vintrel {

class IconButton;
class TextLabel;

/// The values that a stepper offers: from the least in steps up to the most.
struct StepRange {
    double least = 0;
    double most = 0;
    double step = 1;

    /// The next one offered above any value, also one that is not offered itself; absent from the most on.
    [[nodiscard]] std::optional<double> above(double value) const;

    /// The next one below; absent from the least on.
    [[nodiscard]] std::optional<double> below(double value) const;
};

/// A number of minutes in a sentence, with a button to each side of it.
class StepperRow : public QWidget {
    Q_OBJECT

public:
    /// What the row says.
    struct Texts {
        QString before; ///< of the number
        QString less;   ///< what the button does that lowers the value
        QString more;   ///< what the other one does
    };

    /// In seconds, as all values here. `onChoice` gets what the user chose.
    StepperRow(Texts texts, const StepRange& range, std::function<void(double seconds)> onChoice,
               QWidget* parent);

    /// Shows the value that holds, offered or not.
    void setShown(double seconds);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void choose(const std::optional<double>& seconds);
    void enableButtons();

    Texts m_texts;
    StepRange m_range;
    std::function<void(double)> m_onChoice;
    double m_seconds = 0;
    TextLabel* m_label;
    IconButton* m_less;
    IconButton* m_more;
};

} // namespace Vintrel
