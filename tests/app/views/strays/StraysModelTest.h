#pragma once

#include "Vintrel/views/StraysModel.h"
#include "tests/app/views/strays/Strays.h"

#include <memory>
#include <vector>

#include <gtest/gtest.h>

namespace Vintrel {

/// The model of the first tab over an engine in a prepared world.
class StraysModelTest : public EngineTest {
protected:
    StraysModelTest() : EngineTest(Face::widgets) {}

    StraysModel& model() {
        if (!m_model) {
            m_model = std::make_unique<StraysModel>(engine(), fileBrowser);
            QObject::connect(m_model.get(), &StraysModel::changed, m_model.get(), [this] { ++modelChanges; });
        }
        return *m_model;
    }

    void endModel() { m_model.reset(); }

    /// Scans a world in which these are the candidates, and lets the model follow.
    void list(const std::vector<ProcessItem>& candidates) {
        (void)model();
        scan(candidates);
        settle();
    }

    /// Lets what is put off to the event loop happen.
    static void settle() { spinFor(5ms); }

    [[nodiscard]] StraysModel::Section section(Bucket bucket) { return model().section(bucket); }

    /// Every row that is shown, from top to bottom.
    [[nodiscard]] std::vector<StraysModel::Row> rows() {
        std::vector<StraysModel::Row> all;
        for (const Bucket bucket : {Bucket::safe, Bucket::needsReview}) {
            for (const StraysModel::Group& group : section(bucket).groups) {
                all.insert(all.end(), group.rows.begin(), group.rows.end());
            }
        }
        return all;
    }

    [[nodiscard]] PIDs shownPIDs() {
        PIDs pids;
        for (const StraysModel::Row& row : rows()) {
            pids.push_back(row.item.pid);
        }
        return pids;
    }

    [[nodiscard]] StraysModel::Row row(int32_t pid) {
        for (const StraysModel::Row& row : rows()) {
            if (row.item.pid == pid) {
                return row;
            }
        }
        ADD_FAILURE() << "no row " << pid;
        return {};
    }

    [[nodiscard]] size_t killings() const { return world->killings.size(); }

    RecordingFileBrowser fileBrowser;
    int modelChanges = 0; ///< how often the model said that something changed

private:
    std::unique_ptr<StraysModel> m_model;
};

} // namespace Vintrel
