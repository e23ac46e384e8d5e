#pragma once

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <QDBusMessage>
#include <QDBusMetaType>
#include <QMetaMethod>
#include <QMetaObject>
#include <QString>
#include <QXmlStreamReader>

namespace VintrelTests {

/// The methods of an interface, each as "name(in signatures) out signatures".
using Methods = std::set<std::string>;

/// What an object on the bus says of one of its interfaces.
struct Introspection {
    Methods methods;
    std::vector<std::string> argumentNames;

    Introspection(const QString& xml, const QString& interface) {
        QXmlStreamReader reader(xml);
        bool isInside = false;
        while (!reader.atEnd()) {
            reader.readNext();
            if (reader.name() == QLatin1String("interface")) {
                isInside =
                    reader.isStartElement() && reader.attributes().value(QLatin1String("name")) == interface;
            } else if (isInside && reader.name() == QLatin1String("method") && reader.isStartElement()) {
                readMethod(reader);
            }
        }
    }

private:
    void readMethod(QXmlStreamReader& reader) {
        const auto attribute = [&reader](const char* name) {
            return reader.attributes().value(QLatin1String(name)).toString().toStdString();
        };
        const std::string name = attribute("name");
        std::string in;
        std::string out;
        while (reader.readNextStartElement()) {
            if (reader.name() == QLatin1String("arg")) {
                argumentNames.push_back(attribute("name"));
                (attribute("direction") == "out" ? out : in) += attribute("type");
            }
            reader.skipCurrentElement();
        }
        methods.insert(name + "(" + in + ") " + out);
    }
};

/// What a class offers over the bus: its slots, or what is marked as scriptable.
inline Methods methodsOf(const QMetaObject& type) {
    const auto signature = [](const QMetaType& argument) {
        const char* const text = QDBusMetaType::typeToSignature(argument);
        return text != nullptr ? std::string(text) : std::string(); // none for void
    };
    Methods methods;
    for (int index = type.methodOffset(); index < type.methodCount(); ++index) {
        const QMetaMethod method = type.method(index);
        const bool isScriptable = (method.attributes() & QMetaMethod::Scriptable) != 0;
        if (method.methodType() != QMetaMethod::Slot &&
            (method.methodType() != QMetaMethod::Method || !isScriptable)) {
            continue;
        }
        std::string in;
        std::string out = signature(method.returnMetaType());
        for (QByteArray argument : method.parameterTypes()) {
            const bool isAnswer = argument.endsWith('&');
            argument = isAnswer ? argument.chopped(1) : argument;
            if (argument != "QDBusMessage") {
                (isAnswer ? out : in) += signature(QMetaType::fromName(argument));
            }
        }
        methods.insert(method.name().toStdString() + "(" + in + ") " + out);
    }
    return methods;
}

/// Names that say nothing to who calls.
inline bool isNameless(const std::string& argument) {
    return argument.empty() || argument.starts_with("arg_");
}

} // namespace VintrelTests
