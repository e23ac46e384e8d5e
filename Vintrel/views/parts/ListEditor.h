#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <QString>
#include <QWidget>

class QPlainTextEdit;

namespace Vintrel {

/// A list of texts, edited as one entry a line. Every edit is stored at once; what is stored differs from
/// what was typed by the white space and the lines that mean nothing. The text is brought in line with it
/// when the focus leaves, never while somebody types.
class ListEditor : public QWidget {
    Q_OBJECT

public:
    using Entries = std::vector<std::string>;

    /// Where the list is kept.
    struct Binding {
        std::function<Entries()> stored;
        std::function<Entries(std::string_view text)> entries; ///< what a text means
        std::function<void(const Entries& entries)> store;
    };

    ListEditor(const QString& name, const QString& hint, Binding binding, QWidget* parent);

    /// To be called when the list has changed, whoever did it. Shows it, unless the focus is here: then the
    /// text stays as it is until the focus leaves, and edits until then keep what the others did.
    void follow();

    /// `mine`, with what somebody else took out of `base` or put into it to make `theirs`. What both sides
    /// put in stands once.
    [[nodiscard]] static Entries merged(const Entries& base, const Entries& theirs, Entries mine);

    /// The height of the text, in device-independent pixels.
    static constexpr int editorHeight = 80;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    [[nodiscard]] QString text() const;
    void adoptTheme();
    void storeText();
    void showStored();
    void replaceText(const QString& text);

    Binding m_binding;
    QPlainTextEdit* m_editor;
    Entries m_base; // what the text means: other entries are somebody else's doing
    bool m_isBusy = false;
};

} // namespace Vintrel
