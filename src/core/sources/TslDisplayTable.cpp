#include "sources/TslDisplayTable.h"

#include <algorithm>

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
        outcome.newlyLimitedSender = makeRoomFor(sender);
        found = m_entries.insert(index, Entry { state, sender, 0 });
        outcome.changed = true;
    } else {
        release(*found);
        outcome.changed = !(found->state == state);
        found->state = state;
        found->sender = sender;
    }
    found->heard = ++m_heardCount;
    m_holdings[sender].byHeard.emplace(found->heard, index);
    return outcome;
}

QString TslDisplayTable::makeRoomFor(const QString& sender)
{
    auto payer = m_holdings.find(sender);
    if (payer == m_holdings.end() || qsizetype(payer->byHeard.size()) < maxDisplaysPerSender) {
        if (m_entries.size() < maxDisplays) {
            return {};
        }
        payer = std::max_element(m_holdings.begin(), m_holdings.end(),
            [](const Holding& a, const Holding& b) { return a.byHeard.size() < b.byHeard.size(); });
    }
    // A full table always has a holding with displays in it.
    const QString paying = payer.key();
    const auto oldest = payer->byHeard.begin();
    m_entries.remove(oldest->second);
    payer->byHeard.erase(oldest);
    if (payer->limited) {
        return {};
    }
    payer->limited = true;
    return paying;
}

void TslDisplayTable::release(const Entry& entry)
{
    const auto holding = m_holdings.find(entry.sender);
    if (holding == m_holdings.end()) {
        return;
    }
    holding->byHeard.erase(entry.heard);
    // A sender that no longer speaks for any display is forgotten with its
    // limit, unless it has been limited: then it is remembered until
    // forgetSender, so the status does not name it again each time.
    if (holding->byHeard.empty() && !holding->limited) {
        m_holdings.erase(holding);
    }
}

qsizetype TslDisplayTable::sizeOf(const QString& sender) const
{
    const auto holding = m_holdings.constFind(sender);
    return holding == m_holdings.cend() ? 0 : qsizetype(holding->byHeard.size());
}

bool TslDisplayTable::forgetSender(const QString& sender)
{
    const auto holding = m_holdings.find(sender);
    if (holding == m_holdings.end()) {
        return false;
    }
    const bool any = !holding->byHeard.empty();
    for (const auto& [heard, index] : holding->byHeard) {
        m_entries.remove(index);
    }
    m_holdings.erase(holding);
    return any;
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
