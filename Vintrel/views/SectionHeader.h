#pragma once

#include "VintrelCore/model/Bucket.h"

#include <QString>
#include <QWidget>

namespace Vintrel {

class PushButton;
class TextLabel;

/// The header of one of the two sections: its name and count, and for the safe one what ending it would give
/// back, with the button that does.
class SectionHeader : public QWidget {
    Q_OBJECT

public:
    SectionHeader(VintrelCore::Bucket bucket, QWidget* parent);

    void displayTitle(const QString& title);
    void displayDetail(const QString& detail);

    /// Null in the review section.
    [[nodiscard]] PushButton* cleanButton() const { return m_cleanButton; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    VintrelCore::Bucket m_bucket;
    TextLabel* m_title = nullptr;
    TextLabel* m_detail = nullptr;
    PushButton* m_cleanButton = nullptr;
};

} // namespace Vintrel
