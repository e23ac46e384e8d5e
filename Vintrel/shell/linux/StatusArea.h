#pragma once

#include "Vintrel/shell/linux/StatusNotifierItem.h"

#include <functional>
#include <memory>
#include <optional>

#include <QTimer>

namespace Vintrel {

/// The status item on a desktop whose tray may come, go and come back as another: over the bus while one
/// shows icons from there, else in the fallback's way. Only one of them is to be seen at a time.
class StatusArea : public StatusItem {
    Q_OBJECT

public:
    /// Makes the item for trays that do not listen on the bus; empty where there are no others.
    using MakeFallback = std::function<std::unique_ptr<StatusItem>()>;

    StatusArea(std::unique_ptr<StatusNotifierItem> notifierItem, MakeFallback makeFallback,
               QObject* parent = nullptr);
    ~StatusArea() override;

    void setLook(const StatusIcon::Look& look) override;
    void pulse() override;
    [[nodiscard]] std::optional<QRect> geometry() const override;
    [[nodiscard]] Presence presence() const override;

private:
    void choose();
    void makeFallback();
    void forward(StatusItem& item);
    [[nodiscard]] StatusItem& chosen() const;

    std::unique_ptr<StatusNotifierItem> m_notifierItem;
    MakeFallback m_makeFallback;
    std::unique_ptr<StatusItem> m_fallback; // while nobody shows icons from the bus
    QTimer m_fallbackTimer;
    std::optional<StatusIcon::Look> m_look;
};

} // namespace Vintrel
