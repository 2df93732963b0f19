#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>
#include <optional>
#include <utility>

// A script's answer as a tree of values: lists, records, text, booleans,
// integers, reals, missing value, and opaque values (dates, class constants,
// raw codes, object references) that nothing here needs to look into.
//
// A record keeps its items the way an Apple Event record does: every
// property named by a term (a keyword item) is one item, and all user-defined
// labels with their values go, alternating label and value, into a single
// user-field list that comes after the keyword items. A record of
// user-defined labels only therefore has exactly one item.
//
// Descriptors are immutable and cheap to copy: the nodes are shared.
class AppleEventDescriptor {
public:
    enum class Kind { List, Record, Text, Boolean, Integer, Real, MissingValue, Opaque };

    using Field = std::pair<QString, AppleEventDescriptor>;

    // missing value
    AppleEventDescriptor();

    static AppleEventDescriptor list(QList<AppleEventDescriptor> items);
    static AppleEventDescriptor record(const QList<Field>& keywordFields, const QList<Field>& userFields);
    static AppleEventDescriptor userRecord(const QList<Field>& userFields) { return record({}, userFields); }
    // The same from its parts, for readers that build the user-field list
    // (alternating text labels and values) as they go.
    static AppleEventDescriptor recordFromParts(QStringList keywordLabels, QList<AppleEventDescriptor> keywordValues,
        QList<AppleEventDescriptor> userFieldList);
    static AppleEventDescriptor text(const QString& text);
    static AppleEventDescriptor boolean(bool value);
    static AppleEventDescriptor integer(qint64 value);
    static AppleEventDescriptor real(double value);
    static AppleEventDescriptor missingValue();
    // A value kept only as its source text, with no text value of its own.
    static AppleEventDescriptor opaque(const QString& source);

    Kind kind() const;

    // Items of a list or record; zero for every other value.
    qsizetype numberOfItems() const;
    // 1-based, as in every Apple Event list; absent outside 1...numberOfItems.
    std::optional<AppleEventDescriptor> descriptorAtIndex(qsizetype index) const;

    // Text as is, an integer as its digits, a real in AppleScript's notation,
    // a one-item list as its item; absent for everything else.
    std::optional<QString> stringValue() const;
    // A boolean as is, integer 1 or 0, a one-item list as its item; false for
    // everything else.
    bool booleanValue() const;

    // Direct access for writers and printers.
    const QList<AppleEventDescriptor>& items() const; // list items, or a record's items
    const QStringList& keywordLabels() const; // a record's keyword item labels, in item order
    bool hasUserFieldList() const; // a record's last item is its user-field list
    QList<Field> userFields() const; // a record's user-defined labels and values
    const QString& textOrSource() const; // text, or an opaque value's source
    bool boolean() const;
    qint64 integer() const;
    double real() const;

    // Structural equality (same kinds, same contents).
    friend bool operator==(const AppleEventDescriptor& a, const AppleEventDescriptor& b);

    // A real the way AppleScript shows it: up to 12 significant digits, an
    // exponent from 1.0E+4 up and from 1.0E-4 down, always a decimal point.
    static QString realNotation(double value);

private:
    struct Data;
    explicit AppleEventDescriptor(std::shared_ptr<const Data> data);
    static std::shared_ptr<const Data> sharedNode(Kind kind, bool value);

    std::shared_ptr<const Data> m_data;
};
