#include "AnswerWriter.h"

#include "core/StandardOutput.h"

#include <QFile>
#include <QSaveFile>
#include <QStringList>

namespace {

QString boolean(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString record(const ShowModel::Shot& shot)
{
    return QStringLiteral("{shotId:%1, shotName:%2, isLive:%3, isPreview:%4}")
        .arg(AnswerWriter::quoted(QString::number(shot.id)), AnswerWriter::quoted(shot.name), boolean(shot.isLive),
            boolean(shot.isPreview));
}

} // namespace

AnswerWriter::AnswerWriter(QString path, QObject* parent)
    : QObject(parent)
    , m_path(std::move(path))
{
}

AnswerWriter::~AnswerWriter()
{
    withdraw();
}

QString AnswerWriter::notation(const QList<ShowModel::Shot>& shots)
{
    QStringList records;
    records.reserve(shots.size());
    for (const ShowModel::Shot& shot : shots) {
        records.append(record(shot));
    }
    return QLatin1Char('{') + records.join(QStringLiteral(", ")) + QStringLiteral("}\n");
}

QString AnswerWriter::quoted(const QString& text)
{
    QString result;
    result.reserve(text.size() + 2);
    result.append(QLatin1Char('"'));
    for (const QChar character : text) {
        if (character == QLatin1Char('"') || character == QLatin1Char('\\')) {
            result.append(QLatin1Char('\\'));
        }
        result.append(character);
    }
    result.append(QLatin1Char('"'));
    return result;
}

bool AnswerWriter::write(const QList<ShowModel::Shot>& shots, QString* error)
{
    QSaveFile file(m_path);
    if (!file.open(QIODevice::WriteOnly)) {
        *error = QStringLiteral("cannot write %1: %2").arg(m_path, file.errorString());
        return false;
    }
    file.write(notation(shots).toUtf8());
    if (!file.commit()) {
        *error = QStringLiteral("cannot write %1: %2").arg(m_path, file.errorString());
        return false;
    }
    m_written = true;
    return true;
}

bool AnswerWriter::follow(const ShowModel& model, QString* error)
{
    connect(&model, &ShowModel::changed, this, [this, &model] {
        QString failure;
        if (!write(model.shots(), &failure)) {
            printErrorLine(QStringLiteral("mixdesk: ") + failure);
        }
    });
    return write(model.shots(), error);
}

void AnswerWriter::withdraw()
{
    if (m_written) {
        QFile::remove(m_path);
        m_written = false;
    }
}
