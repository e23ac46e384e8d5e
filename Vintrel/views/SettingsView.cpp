#include "Vintrel/views/SettingsView.h"

#include "Vintrel/engine/ScanEngine.h"
#include "Vintrel/engine/TextLists.h"
#include "Vintrel/shell/LoginItem.h"
#include "Vintrel/views/parts/FittingScrollArea.h"
#include "Vintrel/views/parts/ListEditor.h"
#include "Vintrel/views/parts/SettingsSection.h"
#include "Vintrel/views/parts/StepperRow.h"
#include "Vintrel/views/parts/TextLabel.h"
#include "Vintrel/views/parts/Theme.h"
#include "Vintrel/views/parts/ToggleRow.h"
#include "VintrelCore/base/UnicodeText.h"

#include <algorithm>
#include <iterator>

#include <QCoreApplication>
#include <QEvent>
#include <QPainter>
#include <QStringList>
#include <QVBoxLayout>

namespace Vintrel {

using VintrelCore::CustomRule;
using VintrelCore::ProcessKind;

namespace {

constexpr QSize usualSize(360, 620);
constexpr QSize smallestSize(220, 160);

QString text(std::string_view utf8) {
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

ListEditor::Entries linesOf(const std::vector<CustomRule>& rules) {
    ListEditor::Entries lines;
    std::ranges::transform(rules, std::back_inserter(lines), CustomRule::serialize);
    return lines;
}

} // namespace

SettingsView::SettingsView(ScanEngine& engine, LoginItem& loginItem, QWidget* parent)
    : QWidget(parent), m_engine(engine), m_loginItem(loginItem) {
    auto* const whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    auto* const content = new QWidget;
    m_sections = new QVBoxLayout(content);
    m_sections->setContentsMargins(14, 14, 14, 14);
    m_sections->setSpacing(18);
    m_problem = new TextLabel({}, {.tone = TextLabel::Tone::review, .wraps = true}, content);
    m_sections->addWidget(m_problem);
    addStartup();
    addNotifications();
    addAutoScan();
    addKinds();
    addIgnored();
    addProtected();
    addRules();
    addVersion();
    m_sections->addStretch(1);
    whole->addWidget(new FittingScrollArea(content, this));
    showAll();
    connect(&m_engine, &ScanEngine::changed, this, &SettingsView::follow);
}

SettingsSection* SettingsView::addSection(const QString& title) {
    auto* const section = new SettingsSection(title, m_sections->parentWidget());
    m_sections->addWidget(section);
    return section;
}

void SettingsView::addStartup() {
    auto* const section = addSection(QStringLiteral("Startup"));
    m_launchAtLogin = new ToggleRow(
        QStringLiteral("Launch at login"),
        [this](bool isOn) {
            if (!m_loginItem.setEnabled(isOn)) {
                qWarning("Start at login could not be turned %s.", isOn ? "on" : "off");
            }
            showLoginItem(); // what holds
        },
        section->card());
    section->addRow(m_launchAtLogin);
}

void SettingsView::addNotifications() {
    const QString hint =
        QStringLiteral("Shows a system notification when a background scan detects processes "
                       "not seen in the previous scan.");
    auto* const section = addSection(QStringLiteral("Notifications"));
    m_alerts = new ToggleRow(
        QStringLiteral("Alert on new strays"), [this](bool isOn) { m_engine.setNotificationsEnabled(isOn); },
        section->card());
    m_alerts->setAccessibleDescription(hint);
    section->addRow(m_alerts);
    section->addHint(hint);
}

void SettingsView::addAutoScan() {
    auto* const section = addSection(QStringLiteral("Auto-scan"));
    m_interval = new StepperRow(
        {.before = QStringLiteral("Every"),
         .less = QStringLiteral("Scan more often"),
         .more = QStringLiteral("Scan less often")},
        {.least = 60, .most = 3'600, .step = 60},
        [this](double seconds) { m_engine.setScanInterval(seconds); }, section->card());
    section->addRow(m_interval);
    m_threshold = new StepperRow(
        {.before = QStringLiteral("Stale after"),
         .less = QStringLiteral("Count processes as stale sooner"),
         .more = QStringLiteral("Count processes as stale later")},
        {.least = 300, .most = 7'200, .step = 300},
        [this](double seconds) { m_engine.setElapsedThreshold(seconds); }, section->card());
    section->addRow(m_threshold);
}

void SettingsView::addKinds() {
    auto* const section = addSection(QStringLiteral("Scanned kinds"));
    for (const ProcessKind kind : VintrelCore::ProcessKinds::allCases) {
        auto* const row = new ToggleRow(
            text(VintrelCore::label(kind)),
            [this, kind](bool isOn) {
                auto kinds = m_engine.disabledKinds();
                if (isOn) {
                    kinds.erase(kind);
                } else {
                    kinds.insert(kind);
                }
                m_engine.setDisabledKinds(std::move(kinds));
            },
            section->card());
        section->addRow(row);
        m_kinds.emplace(kind, row);
    }
    section->addHint(QStringLiteral(
        "Unchecked kinds are skipped during scans — like Ignored processes, but by category."));
}

void SettingsView::addIgnored() {
    const QString title = QStringLiteral("Ignored processes");
    const QString hint = QStringLiteral(
        "One command substring per line — matching processes are hidden. Append ` @ <path>` to "
        "scope a rule to one project tree (e.g. `node @ ~/code/ledgra`).");
    auto* const section = addSection(title);
    m_ignored = new ListEditor(
        title, hint,
        {.stored = [&engine = m_engine] { return engine.ignoredNames(); },
         .entries = TextLists::entries,
         .store = [&engine = m_engine](const auto& entries) { engine.setIgnoredNames(entries); }},
        section->card());
    section->addRow(m_ignored);
    section->addHint(hint);
}

void SettingsView::addProtected() {
    const QString title = QStringLiteral("Protected projects");
    const QString hint = QStringLiteral(
        "One project path per line — processes whose working directory is under that tree are kept out of "
        "“Clean all” (still listed and individually killable). Add or remove with the 🔒 button on a Safe "
        "row.");
    auto* const section = addSection(title);
    m_protected = new ListEditor(
        title, hint,
        {.stored = [&engine = m_engine] { return engine.protectedProjects(); },
         .entries = TextLists::entries,
         .store = [&engine = m_engine](const auto& entries) { engine.setProtectedProjects(entries); }},
        section->card());
    section->addRow(m_protected);
    section->addHint(hint);
}

void SettingsView::addRules() {
    const QString title = QStringLiteral("Custom rules");
    const QString hint = QStringLiteral(
        "One rule per line as `substring = label` — matching processes surface under the label "
        "in Needs Review (never auto-killable).");
    auto* const section = addSection(title);
    m_rules = new ListEditor(
        title, hint,
        {.stored = [&engine = m_engine] { return linesOf(engine.customRules()); },
         .entries = [](std::string_view lines) { return linesOf(TextLists::customRules(lines)); },
         .store =
             [&engine = m_engine](const auto& lines) {
                 engine.setCustomRules(TextLists::customRules(TextLists::text(lines)));
             }},
        section->card());
    section->addRow(m_rules);
    section->addHint(hint);
}

void SettingsView::addVersion() {
    const QString version = QCoreApplication::applicationVersion();
    if (!version.isEmpty()) {
        m_sections->addWidget(new TextLabel(
            QStringLiteral("Vintrel ") + version,
            {.size = TextSize::small, .tone = TextLabel::Tone::tertiary, .alignment = Qt::AlignCenter},
            m_sections->parentWidget()));
    }
}

void SettingsView::follow(EngineField field) {
    switch (field) {
    case EngineField::notificationsEnabled:
        m_alerts->setShown(m_engine.notificationsEnabled());
        break;
    case EngineField::scanInterval:
        m_interval->setShown(m_engine.scanInterval());
        break;
    case EngineField::elapsedThreshold:
        m_threshold->setShown(m_engine.elapsedThreshold());
        break;
    case EngineField::disabledKinds:
        showKinds();
        break;
    case EngineField::ignoredNames:
        m_ignored->follow();
        break;
    case EngineField::protectedProjects:
        m_protected->follow();
        break;
    case EngineField::customRules:
        m_rules->follow();
        break;
    case EngineField::problems:
        showProblem();
        break;
    default: // what scans find
        break;
    }
}

void SettingsView::showLoginItem() {
    m_launchAtLogin->setShown(m_loginItem.isEnabled());
}

void SettingsView::showKinds() {
    for (const auto& [kind, row] : m_kinds) {
        row->setShown(!m_engine.disabledKinds().contains(kind));
    }
}

void SettingsView::showProblem() {
    QStringList texts;
    for (const Problem& problem : m_engine.problems()) {
        if (problem.source == Problem::Source::settings) {
            texts.push_back(text(VintrelCore::UnicodeText::printable(problem.text)));
        }
    }
    m_problem->setText(texts.join(QLatin1Char('\n')));
    m_problem->setVisible(!texts.isEmpty());
}

void SettingsView::showAll() {
    showLoginItem();
    m_alerts->setShown(m_engine.notificationsEnabled());
    m_interval->setShown(m_engine.scanInterval());
    m_threshold->setShown(m_engine.elapsedThreshold());
    showKinds();
    showProblem();
}

QSize SettingsView::sizeHint() const {
    return usualSize;
}

QSize SettingsView::minimumSizeHint() const {
    return smallestSize;
}

void SettingsView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    showLoginItem();
}

bool SettingsView::event(QEvent* event) {
    if (event->type() == QEvent::WindowActivate) { // the user may have been to the desktop's own settings
        showLoginItem();
    }
    return QWidget::event(event);
}

void SettingsView::paintEvent(QPaintEvent* /*event*/) {
    QPainter(this).fillRect(rect(), Theme::current().background);
}

} // namespace Vintrel
