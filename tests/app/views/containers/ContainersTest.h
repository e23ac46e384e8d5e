#pragma once

#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/views/ContainerList.h"
#include "Vintrel/views/ContainerRow.h"
#include "Vintrel/views/ContainersView.h"
#include "Vintrel/views/parts/IconButton.h"
#include "Vintrel/views/parts/TextLabel.h"
#include "tests/app/support/AppTest.h"
#include "tests/app/support/PreparedSources.h"
#include "tests/app/support/ViewTest.h"
#include "tests/app/views/containers/PreparedContainers.h"
#include "tests/core/docker/Printing.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <QPointer>
#include <QTest>
#include <gtest/gtest.h>

namespace Vintrel {

/// A containers tab over prepared answers.
class ContainersTest : public VintrelTests::ViewTest {
protected:
    void SetUp() override {
        ViewTest::SetUp();
        engine = std::make_unique<ScanEngine>(notifications, world.sources());
        view = std::make_unique<ContainersView>(*engine, prepared.sources(), nullptr);
        view->resize(400, 480);
    }

    void TearDown() override {
        view.reset();
        engine.reset();
        ViewTest::TearDown();
    }

    void show() const {
        view->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(view.get()));
    }

    /// Shows the view, with these containers and figures in it.
    void show(const Containers& containers, const StatsMap& figures = {}) {
        show();
        ASSERT_FALSE(prepared.lists.empty());
        prepared.lists.back().answer(containers);
        prepared.stats.back().answer(figures);
        spinFor(std::chrono::milliseconds(1));
    }

    /// Asks for another list, which is this one.
    void refresh(const Containers& containers) {
        view->reload();
        prepared.lists.back().answer(containers);
        spinFor(std::chrono::milliseconds(1));
    }

    [[nodiscard]] const std::vector<ContainerRow*>& rows() const {
        return view->findChild<ContainerList*>()->rows();
    }

    [[nodiscard]] ContainerRow* row(const std::string& name) const {
        for (ContainerRow* const each : rows()) {
            if (each->id() == "id-" + name) {
                return each;
            }
        }
        ADD_FAILURE() << "no row " << name;
        return nullptr;
    }

    [[nodiscard]] IconButton* button(const std::string& name, ContainerAction action) const {
        return row(name)->button(action);
    }

    [[nodiscard]] bool isEnabled(const std::string& name) const {
        const bool isEnabled = button(name, ContainerAction::restart)->isEnabled();
        for (const auto action : {ContainerAction::stop, ContainerAction::remove}) {
            EXPECT_EQ(button(name, action)->isEnabled(), isEnabled);
        }
        return isEnabled;
    }

    /// The texts that can be read, from top to bottom, and along a line as they stand.
    [[nodiscard]] Texts texts() const {
        std::vector<TextLabel*> labels;
        for (TextLabel* const label : view->findChildren<TextLabel*>()) {
            if (label->isVisibleTo(view.get())) {
                labels.push_back(label);
            }
        }
        const auto placeOf = [this](const TextLabel* label) {
            const QPoint place = label->mapTo(view.get(), QPoint());
            return std::pair(place.y(), place.x());
        };
        std::ranges::stable_sort(labels, {}, placeOf);
        Texts texts;
        for (const TextLabel* const label : labels) {
            texts.push_back(label->text().toStdString());
        }
        return texts;
    }

    /// The names of the rows, from top to bottom, by where they stand.
    [[nodiscard]] Texts names() const {
        std::vector<const ContainerRow*> sorted(rows().begin(), rows().end());
        std::ranges::stable_sort(sorted, {}, [](const ContainerRow* each) { return each->y(); });
        Texts names;
        for (const ContainerRow* const each : sorted) {
            names.push_back(each->id().substr(3));
        }
        return names;
    }

    [[nodiscard]] QWidget* focused() const { return view->focusWidget(); }

    VintrelTests::PreparedSources world;
    VintrelTests::RecordingNotifications notifications;
    PreparedContainers prepared;
    std::unique_ptr<ScanEngine> engine;
    std::unique_ptr<ContainersView> view;
};

} // namespace Vintrel
