#include "sources/TslDisplayTable.h"

namespace {

bool anyTallyIs(const TslUmd50::Display& display, TslUmd50::Colour colour)
{
    return display.leftTally == colour || display.rightTally == colour || display.textTally == colour;
}

} // namespace

bool TslDisplayTable::apply(const TslUmd31::Message& message)
{
    return store(message.address, Entry { message.text, message.tallies[0], message.tallies[1] });
}

bool TslDisplayTable::apply(const TslUmd50::Display& display)
{
    if (display.controlData || display.index == TslUmd50::broadcastIndex) {
        return false;
    }
    return store(display.index,
        Entry {
            display.text, anyTallyIs(display, TslUmd50::Colour::red), anyTallyIs(display, TslUmd50::Colour::green) });
}

bool TslDisplayTable::store(int index, const Entry& entry)
{
    const auto found = m_entries.find(index);
    if (found == m_entries.end()) {
        if (m_entries.size() >= maxDisplays) {
            return false;
        }
        m_entries.insert(index, entry);
        return true;
    }
    if (*found == entry) {
        return false;
    }
    *found = entry;
    return true;
}

ShotList TslDisplayTable::shots() const
{
    ShotList shots;
    shots.reserve(m_entries.size());
    for (auto entry = m_entries.cbegin(); entry != m_entries.cend(); ++entry) {
        const QString id = QString::number(entry.key());
        const QString text = entry->text.trimmed();
        auto shot = std::make_shared<Shot>(text.isEmpty() ? id : text);
        shot->shotId = id;
        shot->isLive = entry->program;
        shot->isPreview = entry->preview;
        shots.append(std::move(shot));
    }
    return shots;
}
