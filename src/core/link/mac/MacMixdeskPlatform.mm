// The query's platform on macOS: the running applications by bundle
// identifier, the Apple Event automation permission, the compiled script
// query_shots.scpt among the bundle's resources, and an in-process runner on
// NSAppleScript whose answer is turned into the program's own descriptor
// tree. Built with ARC.

#include "link/AppleEventDescriptor.h"
#include "link/MixdeskPlatform.h"
#include "link/ScriptResult.h"
#include "link/SipCheck.h"

#include <QByteArray>
#include <QDir>
#include <QFileInfo>
#include <QString>

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>
#include <CoreServices/CoreServices.h>

#include <cstring>

namespace {

// Set to a directory to take the resources from there instead of the bundle.
constexpr char resourceDirectoryVariable[] = "MIXDESK_TALLY_RESOURCE_DIR";
NSString* const compiledScriptType = @"scpt";

constexpr FourCharCode codeFromCharacters(const char (&characters)[5])
{
    return (FourCharCode(quint8(characters[0])) << 24) | (FourCharCode(quint8(characters[1])) << 16)
        | (FourCharCode(quint8(characters[2])) << 8) | FourCharCode(quint8(characters[3]));
}

// The keyword under which a record keeps its user-defined labels and values
// (keyASUserRecordFields of the AppleScript headers, which live in Carbon).
constexpr AEKeyword userRecordFieldsKeyword = codeFromCharacters("usrf");

QString fourCharCode(FourCharCode code)
{
    const char characters[4] = { char((code >> 24) & 0xFF), char((code >> 16) & 0xFF), char((code >> 8) & 0xFF),
        char(code & 0xFF) };
    return QString::fromLatin1(characters, 4);
}

// A value nothing here looks into, kept in AppleScript's raw notation of its
// type and bytes.
AppleEventDescriptor opaqueDescriptor(NSAppleEventDescriptor* descriptor)
{
    NSData* data = descriptor.data;
    const QByteArray bytes = data == nil ? QByteArray()
                                         : QByteArray(static_cast<const char*>(data.bytes), qsizetype(data.length));
    return AppleEventDescriptor::opaque(QStringLiteral("«data %1%2»")
                                            .arg(fourCharCode(descriptor.descriptorType),
                                                QString::fromLatin1(bytes.toHex().toUpper())));
}

// The label of a keyword item: the term AppleScript shows for the codes a
// shot answer can carry, else the raw class code.
QString keywordLabel(AEKeyword keyword)
{
    switch (keyword) {
    case pClass:
        return QStringLiteral("class");
    case pName:
        return QStringLiteral("name");
    case pID:
        return QStringLiteral("id");
    default:
        return QStringLiteral("«class %1»").arg(fourCharCode(keyword));
    }
}

template <typename Integer>
std::optional<qint64> integerFromData(NSAppleEventDescriptor* descriptor)
{
    NSData* data = descriptor.data;
    if (data == nil || data.length != sizeof(Integer)) {
        return std::nullopt;
    }
    Integer value {};
    std::memcpy(&value, data.bytes, sizeof value);
    return qint64(value);
}

AppleEventDescriptor convertDescriptor(NSAppleEventDescriptor* descriptor);

AppleEventDescriptor convertList(NSAppleEventDescriptor* descriptor)
{
    QList<AppleEventDescriptor> items;
    const NSInteger count = descriptor.numberOfItems;
    items.reserve(count);
    for (NSInteger index = 1; index <= count; ++index) {
        items.append(convertDescriptor([descriptor descriptorAtIndex:index]));
    }
    return AppleEventDescriptor::list(std::move(items));
}

// A record's keyword items in order, and the user-field list (alternating
// label and value, under keyASUserRecordFields) as one list at the end.
AppleEventDescriptor convertRecord(NSAppleEventDescriptor* descriptor)
{
    QStringList keywordLabels;
    QList<AppleEventDescriptor> keywordValues;
    QList<AppleEventDescriptor> userFieldList;
    const NSInteger count = descriptor.numberOfItems;
    for (NSInteger index = 1; index <= count; ++index) {
        const AEKeyword keyword = [descriptor keywordForDescriptorAtIndex:index];
        NSAppleEventDescriptor* item = [descriptor descriptorAtIndex:index];
        if (keyword == userRecordFieldsKeyword) {
            userFieldList = convertList(item).items();
            continue;
        }
        keywordLabels.append(keywordLabel(keyword));
        keywordValues.append(convertDescriptor(item));
    }
    return AppleEventDescriptor::recordFromParts(
        std::move(keywordLabels), std::move(keywordValues), std::move(userFieldList));
}

AppleEventDescriptor convertDescriptor(NSAppleEventDescriptor* descriptor)
{
    if (descriptor == nil) {
        return AppleEventDescriptor::missingValue();
    }
    switch (descriptor.descriptorType) {
    case typeAEList:
        return convertList(descriptor);
    case typeAERecord:
        return convertRecord(descriptor);
    case typeUnicodeText:
    case typeUTF8Text:
    case typeUTF16ExternalRepresentation:
    case typeChar: {
        NSString* text = descriptor.stringValue;
        return text == nil ? opaqueDescriptor(descriptor) : AppleEventDescriptor::text(QString::fromNSString(text));
    }
    case typeTrue:
    case typeFalse:
    case typeBoolean:
        return AppleEventDescriptor::boolean(descriptor.booleanValue);
    case typeSInt16:
    case typeSInt32:
        return AppleEventDescriptor::integer(descriptor.int32Value);
    case typeUInt32:
        if (const std::optional<qint64> value = integerFromData<quint32>(descriptor)) {
            return AppleEventDescriptor::integer(*value);
        }
        return opaqueDescriptor(descriptor);
    case typeSInt64:
        if (const std::optional<qint64> value = integerFromData<qint64>(descriptor)) {
            return AppleEventDescriptor::integer(*value);
        }
        return opaqueDescriptor(descriptor);
    case typeIEEE32BitFloatingPoint:
    case typeIEEE64BitFloatingPoint:
        return AppleEventDescriptor::real(descriptor.doubleValue);
    case typeType:
        if (descriptor.typeCodeValue == cMissingValue) {
            return AppleEventDescriptor::missingValue();
        }
        return opaqueDescriptor(descriptor);
    default:
        return opaqueDescriptor(descriptor);
    }
}

ScriptErrorInformation errorInformationFrom(NSDictionary* error)
{
    NSString* message = error[NSAppleScriptErrorMessage];
    NSNumber* number = error[NSAppleScriptErrorNumber];
    return scriptErrorInformation(message == nil ? QStringLiteral("unknown script error") : QString::fromNSString(message),
        number == nil ? -1 : number.intValue);
}

// A compiled script loaded in this process; each run is synchronous on the
// calling (main) thread.
class AppleScriptRunner : public LoadedScript {
public:
    explicit AppleScriptRunner(NSAppleScript* script)
        : m_script(script)
    {
    }

    ScriptResult execute() override
    {
        @autoreleasepool {
            NSDictionary* error = nil;
            NSAppleEventDescriptor* result = [m_script executeAndReturnError:&error];
            if (result == nil) {
                return ScriptResult::failure(errorInformationFrom(error));
            }
            return ScriptResult::success(convertDescriptor(result));
        }
    }

private:
    NSAppleScript* m_script;
};

class MacMixdeskPlatform : public MixdeskPlatform {
public:
    int runningApplicationCount(const QString& bundleIdentifier) const override
    {
        @autoreleasepool {
            NSArray<NSRunningApplication*>* running =
                [NSRunningApplication runningApplicationsWithBundleIdentifier:bundleIdentifier.toNSString()];
            return int(running.count);
        }
    }

    SipCheckResult checkSip(const QString& bundleIdentifier) override
    {
        AutomationPermissionServices services;
        services.isAtLeast10_14 = [] {
            if (@available(macOS 10.14, *)) {
                return true;
            }
            return false;
        };
        services.determinePermissionToAutomateTarget
            = [](const QString& identifier, quint32 eventClass, quint32 eventId, bool askUserIfNeeded) -> int {
            if (@available(macOS 10.14, *)) {
                @autoreleasepool {
                    NSAppleEventDescriptor* target =
                        [NSAppleEventDescriptor descriptorWithBundleIdentifier:identifier.toNSString()];
                    return int(AEDeterminePermissionToAutomateTarget(
                        target.aeDesc, eventClass, eventId, askUserIfNeeded ? true : false));
                }
            }
            return 0;
        };
        return ::checkSip(bundleIdentifier, services);
    }

    std::optional<QString> scriptResource(const QString& name) const override
    {
        const QString configured = qEnvironmentVariable(resourceDirectoryVariable);
        if (!configured.isEmpty()) {
            const QString file = QDir(configured).filePath(name + QStringLiteral(".scpt"));
            return QFileInfo::exists(file) ? std::optional<QString>(file) : std::nullopt;
        }
        @autoreleasepool {
            NSString* path = [[NSBundle mainBundle] pathForResource:name.toNSString() ofType:compiledScriptType];
            if (path == nil) {
                return std::nullopt;
            }
            return QString::fromNSString(path);
        }
    }

    QString resourceDirectory() const override
    {
        const QString configured = qEnvironmentVariable(resourceDirectoryVariable);
        if (!configured.isEmpty()) {
            return configured;
        }
        @autoreleasepool {
            NSString* path = [[NSBundle mainBundle] resourcePath];
            return path == nil ? QString() : QString::fromNSString(path);
        }
    }

    std::unique_ptr<LoadedScript> loadScript(const QString& file) override
    {
        @autoreleasepool {
            NSDictionary* error = nil;
            NSAppleScript* script = [[NSAppleScript alloc] initWithContentsOfURL:[NSURL fileURLWithPath:file.toNSString()]
                                                                           error:&error];
            if (script == nil) {
                return nullptr;
            }
            return std::make_unique<AppleScriptRunner>(script);
        }
    }
};

} // namespace

std::shared_ptr<MixdeskPlatform> makeHostMixdeskPlatform()
{
    return std::make_shared<MacMixdeskPlatform>();
}
