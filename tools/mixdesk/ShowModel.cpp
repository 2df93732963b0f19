#include "ShowModel.h"

#include "base/FatalError.h"

QStringList ShowModel::defaultShotNames()
{
    return {
        QStringLiteral("Camera 1"),
        QStringLiteral("Camera 2"),
        QStringLiteral("Camera 3"),
        QStringLiteral("Camera 4"),
        QStringLiteral("Wide Shot"),
        QStringLiteral("Titles"),
        QStringLiteral("Lower Third Clear Layer"),
    };
}

ShowModel::ShowModel(const QStringList& names, ShowStart start, QObject* parent)
    : QObject(parent)
{
    for (const QString& name : names) {
        m_entries.append({ m_nextId++, name });
    }
    if (start.program != -1) {
        checkPosition(start.program, "ShowModel");
        m_programId = m_entries.at(start.program).id;
    }
    if (start.preview != -1) {
        checkPosition(start.preview, "ShowModel");
        m_previewId = m_entries.at(start.preview).id;
    }
}

int ShowModel::count() const
{
    return static_cast<int>(m_entries.size());
}

ShowModel::Shot ShowModel::shotAt(int position) const
{
    checkPosition(position, "shotAt");
    const Entry& entry = m_entries.at(position);
    return { entry.id, entry.name, entry.id == m_programId, entry.id == m_previewId };
}

QList<ShowModel::Shot> ShowModel::shots() const
{
    QList<Shot> result;
    result.reserve(m_entries.size());
    for (int position = 0; position < count(); ++position) {
        result.append(shotAt(position));
    }
    return result;
}

int ShowModel::programPosition() const
{
    return positionOfId(m_programId);
}

int ShowModel::previewPosition() const
{
    return positionOfId(m_previewId);
}

void ShowModel::setPreview(int position)
{
    checkPosition(position, "setPreview");
    m_previewId = m_entries.at(position).id;
    Q_EMIT changed();
}

void ShowModel::setProgram(int position)
{
    checkPosition(position, "setProgram");
    m_programId = m_entries.at(position).id;
    Q_EMIT changed();
}

void ShowModel::cut()
{
    std::swap(m_programId, m_previewId);
    Q_EMIT changed();
}

void ShowModel::rename(int position, const QString& name)
{
    checkPosition(position, "rename");
    m_entries[position].name = name;
    Q_EMIT changed();
}

int ShowModel::add(const QString& name)
{
    m_entries.append({ m_nextId++, name });
    Q_EMIT changed();
    return count() - 1;
}

void ShowModel::remove(int position)
{
    checkPosition(position, "remove");
    const qint64 id = m_entries.takeAt(position).id;
    if (m_programId == id) {
        m_programId = 0;
    }
    if (m_previewId == id) {
        m_previewId = 0;
    }
    Q_EMIT changed();
}

void ShowModel::checkPosition(int position, const char* operation) const
{
    if (position < 0 || position >= count()) {
        fatalError(QStringLiteral("ShowModel::%1: no shot at position %2 of %3")
                       .arg(QLatin1String(operation))
                       .arg(position)
                       .arg(count()));
    }
}

int ShowModel::positionOfId(qint64 id) const
{
    for (int position = 0; position < count(); ++position) {
        if (m_entries.at(position).id == id) {
            return position;
        }
    }
    return -1;
}
