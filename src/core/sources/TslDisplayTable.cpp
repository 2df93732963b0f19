#include "sources/TslDisplayTable.h"

namespace {

bool anyTallyIs(const TslUmd50::Display& display, TslUmd50::Colour colour)
{
    return display.leftTally == colour || display.rightTally == colour || display.textTally == colour;
}

} // namespace

TslDisplayTable::Outcome TslDisplayTable::take(const TslUmd31::Message& message, const QString& sender)
{
    return store(message.address, State { message.text, message.tallies[0], message.tallies[1] }, sender);
}

TslDisplayTable::Outcome TslDisplayTable::take(const TslUmd50::Display& display, const QString& sender)
{
    if (display.controlData || display.index == TslUmd50::broadcastIndex) {
        return {};
    }
    return store(display.index,
        State {
            display.text, anyTallyIs(display, TslUmd50::Colour::red), anyTallyIs(display, TslUmd50::Colour::green) },
        sender);
}

TslDisplayTable::Outcome TslDisplayTable::store(int index, const State& state, const QString& sender)
{
    Outcome outcome;
    outcome.refreshedTally = state.program || state.preview;
    auto found = m_entries.find(index);
    if (found == m_entries.end()) {
        if (m_entries.size() >= maxDisplays) {
            forget(m_entries.find(m_byHeard.begin()->second));
        }
        found = m_entries.insert(index, Entry { state, sender, 0 });
        outcome.changed = true;
    } else {
        m_byHeard.erase(found->heard);
        outcome.changed = !(found->state == state);
        found->state = state;
        found->sender = sender;
    }
    found->heard = ++m_heardCount;
    m_byHeard.emplace(found->heard, index);
    return outcome;
}

bool TslDisplayTable::forgetSender(const QString& sender)
{
    bool any = false;
    for (auto entry = m_entries.begin(); entry != m_entries.end();) {
        if (entry->sender == sender) {
            m_byHeard.erase(entry->heard);
            entry = m_entries.erase(entry);
            any = true;
        } else {
            ++entry;
        }
    }
    return any;
}

void TslDisplayTable::forget(QMap<int, Entry>::iterator entry)
{
    m_byHeard.erase(entry->heard);
    m_entries.erase(entry);
}

ShotList TslDisplayTable::shots() const
{
    ShotList shots;
    shots.reserve(m_entries.size());
    for (auto entry = m_entries.cbegin(); entry != m_entries.cend(); ++entry) {
        const QString id = QString::number(entry.key());
        const QString text = entry->state.text.trimmed();
        auto shot = std::make_shared<Shot>(text.isEmpty() ? id : text);
        shot->shotId = id;
        shot->isLive = entry->state.program;
        shot->isPreview = entry->state.preview;
        shots.append(std::move(shot));
    }
    return shots;
}
