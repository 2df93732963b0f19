#include "link/AppleEventDescriptor.h"

#include <cmath>

struct AppleEventDescriptor::Data {
    Kind kind = Kind::MissingValue;
    bool boolean = false;
    qint64 integer = 0;
    double real = 0;
    QString text;
    QList<AppleEventDescriptor> items;
    QStringList keywordLabels;
    bool hasUserFieldList = false;
};

namespace {

const QList<AppleEventDescriptor>& noItems()
{
    static const QList<AppleEventDescriptor> empty;
    return empty;
}

QString stripTrailingZeros(QString digits)
{
    if (!digits.contains(QLatin1Char('.'))) {
        return digits + QLatin1String(".0");
    }
    while (digits.endsWith(QLatin1Char('0'))) {
        digits.chop(1);
    }
    if (digits.endsWith(QLatin1Char('.'))) {
        digits.append(QLatin1Char('0'));
    }
    return digits;
}

QString exponentNotation(double value)
{
    const QString formatted = QString::number(value, 'e', 11); // "2.14748364700e+09"
    const qsizetype e = formatted.indexOf(QLatin1Char('e'));
    const QString mantissa = stripTrailingZeros(formatted.left(e));
    const int exponent = formatted.mid(e + 1).toInt();
    return mantissa + (exponent < 0 ? QLatin1String("E-") : QLatin1String("E+")) + QString::number(std::abs(exponent));
}

bool needsExponent(double magnitude)
{
    return magnitude >= 1e4 || magnitude <= 1e-4;
}

} // namespace

// The answer of a query holds thousands of booleans and missing values; they
// all share one node each.
std::shared_ptr<const AppleEventDescriptor::Data> AppleEventDescriptor::sharedNode(Kind kind, bool value)
{
    auto make = [](Kind k, bool b) {
        auto data = std::make_shared<Data>();
        data->kind = k;
        data->boolean = b;
        return std::shared_ptr<const Data>(std::move(data));
    };
    static const auto missing = make(Kind::MissingValue, false);
    static const auto yes = make(Kind::Boolean, true);
    static const auto no = make(Kind::Boolean, false);
    if (kind == Kind::MissingValue) {
        return missing;
    }
    return value ? yes : no;
}

AppleEventDescriptor::AppleEventDescriptor()
    : m_data(sharedNode(Kind::MissingValue, false))
{
}

AppleEventDescriptor::AppleEventDescriptor(std::shared_ptr<const Data> data)
    : m_data(std::move(data))
{
}

AppleEventDescriptor AppleEventDescriptor::list(QList<AppleEventDescriptor> items)
{
    auto data = std::make_shared<Data>();
    data->kind = Kind::List;
    data->items = std::move(items);
    return AppleEventDescriptor(std::move(data));
}

AppleEventDescriptor AppleEventDescriptor::record(const QList<Field>& keywordFields, const QList<Field>& userFields)
{
    auto data = std::make_shared<Data>();
    data->kind = Kind::Record;
    data->items.reserve(keywordFields.size() + 1);
    data->keywordLabels.reserve(keywordFields.size());
    for (const Field& field : keywordFields) {
        data->keywordLabels.append(field.first);
        data->items.append(field.second);
    }
    if (!userFields.isEmpty()) {
        QList<AppleEventDescriptor> alternating;
        alternating.reserve(userFields.size() * 2);
        for (const Field& field : userFields) {
            alternating.append(text(field.first));
            alternating.append(field.second);
        }
        data->items.append(list(std::move(alternating)));
        data->hasUserFieldList = true;
    }
    return AppleEventDescriptor(std::move(data));
}

AppleEventDescriptor AppleEventDescriptor::recordFromParts(
    QStringList keywordLabels, QList<AppleEventDescriptor> keywordValues, QList<AppleEventDescriptor> userFieldList)
{
    auto data = std::make_shared<Data>();
    data->kind = Kind::Record;
    data->keywordLabels = std::move(keywordLabels);
    data->items = std::move(keywordValues);
    if (!userFieldList.isEmpty()) {
        data->items.append(list(std::move(userFieldList)));
        data->hasUserFieldList = true;
    }
    return AppleEventDescriptor(std::move(data));
}

AppleEventDescriptor AppleEventDescriptor::text(const QString& text)
{
    auto data = std::make_shared<Data>();
    data->kind = Kind::Text;
    data->text = text;
    return AppleEventDescriptor(std::move(data));
}

AppleEventDescriptor AppleEventDescriptor::boolean(bool value)
{
    return AppleEventDescriptor(sharedNode(Kind::Boolean, value));
}

AppleEventDescriptor AppleEventDescriptor::integer(qint64 value)
{
    auto data = std::make_shared<Data>();
    data->kind = Kind::Integer;
    data->integer = value;
    return AppleEventDescriptor(std::move(data));
}

AppleEventDescriptor AppleEventDescriptor::real(double value)
{
    auto data = std::make_shared<Data>();
    data->kind = Kind::Real;
    data->real = value;
    return AppleEventDescriptor(std::move(data));
}

AppleEventDescriptor AppleEventDescriptor::missingValue()
{
    return AppleEventDescriptor();
}

AppleEventDescriptor AppleEventDescriptor::opaque(const QString& source)
{
    auto data = std::make_shared<Data>();
    data->kind = Kind::Opaque;
    data->text = source;
    return AppleEventDescriptor(std::move(data));
}

AppleEventDescriptor::Kind AppleEventDescriptor::kind() const
{
    return m_data->kind;
}

qsizetype AppleEventDescriptor::numberOfItems() const
{
    return items().size();
}

std::optional<AppleEventDescriptor> AppleEventDescriptor::descriptorAtIndex(qsizetype index) const
{
    const QList<AppleEventDescriptor>& all = items();
    if (index < 1 || index > all.size()) {
        return std::nullopt;
    }
    return all.at(index - 1);
}

std::optional<QString> AppleEventDescriptor::stringValue() const
{
    switch (m_data->kind) {
    case Kind::Text:
        return m_data->text;
    case Kind::Integer:
        return QString::number(m_data->integer);
    case Kind::Real:
        return realNotation(m_data->real);
    case Kind::List:
        if (m_data->items.size() == 1) {
            return m_data->items.first().stringValue();
        }
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

bool AppleEventDescriptor::booleanValue() const
{
    switch (m_data->kind) {
    case Kind::Boolean:
        return m_data->boolean;
    case Kind::Integer:
        // Only 1 and 0 coerce; any other number is not a boolean at all.
        return m_data->integer == 1;
    case Kind::List:
        return m_data->items.size() == 1 && m_data->items.first().booleanValue();
    default:
        return false;
    }
}

const QList<AppleEventDescriptor>& AppleEventDescriptor::items() const
{
    if (m_data->kind == Kind::List || m_data->kind == Kind::Record) {
        return m_data->items;
    }
    return noItems();
}

const QStringList& AppleEventDescriptor::keywordLabels() const
{
    return m_data->keywordLabels;
}

bool AppleEventDescriptor::hasUserFieldList() const
{
    return m_data->hasUserFieldList;
}

QList<AppleEventDescriptor::Field> AppleEventDescriptor::userFields() const
{
    QList<Field> fields;
    if (!m_data->hasUserFieldList) {
        return fields;
    }
    const QList<AppleEventDescriptor>& alternating = m_data->items.last().items();
    fields.reserve(alternating.size() / 2);
    for (qsizetype i = 0; i + 1 < alternating.size(); i += 2) {
        fields.append({ alternating.at(i).textOrSource(), alternating.at(i + 1) });
    }
    return fields;
}

const QString& AppleEventDescriptor::textOrSource() const
{
    return m_data->text;
}

bool AppleEventDescriptor::boolean() const
{
    return m_data->boolean;
}

qint64 AppleEventDescriptor::integer() const
{
    return m_data->integer;
}

double AppleEventDescriptor::real() const
{
    return m_data->real;
}

bool operator==(const AppleEventDescriptor& a, const AppleEventDescriptor& b)
{
    if (a.m_data == b.m_data) {
        return true;
    }
    const AppleEventDescriptor::Data& x = *a.m_data;
    const AppleEventDescriptor::Data& y = *b.m_data;
    return x.kind == y.kind && x.boolean == y.boolean && x.integer == y.integer && x.real == y.real && x.text == y.text
        && x.keywordLabels == y.keywordLabels && x.hasUserFieldList == y.hasUserFieldList && x.items == y.items;
}

QString AppleEventDescriptor::realNotation(double value)
{
    if (value == 0) {
        return QStringLiteral("0.0");
    }
    if (needsExponent(std::abs(value))) {
        return exponentNotation(value);
    }
    const QString plain = QString::number(value, 'g', 12);
    // Rounding to 12 digits can carry a value over a boundary (9999.9999999999
    // shows as 1.0E+4), so decide on the rounded value.
    if (needsExponent(std::abs(plain.toDouble()))) {
        return exponentNotation(value);
    }
    return stripTrailingZeros(plain);
}
