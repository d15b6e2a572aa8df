#include "infrastructure/datacore/DatacoreActiveStatusMessage.h"
#include "infrastructure/datacore/DatacoreJsonMessage.h"
#include "infrastructure/datacore/DatacoreValidStatusMessage.h"
#include "infrastructure/datacore/MessageFactory.h"
#include "sw/infrastructure_test/DatacoreSupport.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <QCryptographicHash>
#include <QJsonDocument>

namespace {

const auto parse = [](const QByteArray& text) {
    return QJsonDocument::fromJson('[' + text + ']').array().at(0);
};

/// The SHA-256 of all texts of a class in the form "4 Stored number is Oversized\n", for numbers up
/// to 1000.
template <typename Message>
QByteArray sumOfTexts()
{
    QByteArray list;
    for (int identifier = -1; identifier <= 1000; ++identifier) {
        const Message message(MessageBase::MessageType_Error, identifier);
        if (message.hasText()) {
            list += QByteArray::number(identifier) + ' ' + message.getText().toUtf8() + '\n';
        }
    }
    return QCryptographicHash::hash(list, QCryptographicHash::Sha256).toHex();
}

} // namespace

TEST_CASE("The tables of message texts are complete", "[datacore]")
{
    // The sums are those of the instrument's published tables, taken with sha256sum.
    CHECK(sumOfTexts<DatacoreJsonMessage>() ==
          "7e8bd1b820a3e59e10046aa605479e055f76acf724e8625ced2912acfc3afef6");
    CHECK(sumOfTexts<DatacoreValidStatusMessage>() ==
          "409fa8333f310858b8803350c0a076716d96a30bd3626914fd89680a6eac4219");
    CHECK(sumOfTexts<DatacoreActiveStatusMessage>() ==
          "3c8d4576d1d31a091b64db749b79f7d58f9e6f57693e35ef4925b9c8e254e402");
}

TEST_CASE("A message has one JSON form, and comes back from it as it was", "[datacore]")
{
    CHECK(toText(DatacoreValidStatusMessage(MessageBase::MessageType_Error, 4).toJson()) ==
          R"({"DatacoreValidStatusMessage":{},"MessageBase":{"identifier":4,"type":2}})");

    std::vector<std::unique_ptr<MessageBase>> sent;
    for (const int identifier : {-1, 0, 2, 5, 6, 48, std::numeric_limits<int>::max()}) {
        for (const int type : {2, 3, std::numeric_limits<int>::min()}) {
            const auto messageType = static_cast<MessageBase::MessageType>(type);
            sent.push_back(std::make_unique<DatacoreJsonMessage>(messageType, identifier));
            sent.push_back(std::make_unique<DatacoreValidStatusMessage>(messageType, identifier));
            sent.push_back(std::make_unique<DatacoreActiveStatusMessage>(messageType, identifier));
        }
    }
    QJsonArray array;
    for (const auto& message : sent) {
        array.append(message->toJson());
    }
    const auto received = deserialiseMessages(array);
    REQUIRE(received.size() == sent.size());
    for (std::size_t i = 0; i < sent.size(); ++i) {
        CHECK(received[i]->getClass() == sent[i]->getClass());
        CHECK(received[i]->getText() == sent[i]->getText());
        CHECK(received[i]->getType() == sent[i]->getType());
        CHECK(received[i]->equals(*sent[i]));
    }
}

TEST_CASE("What is no message is logged and left out", "[datacore]")
{
    const QByteArray base = R"("MessageBase": {"identifier": 7, "type": 2})";
    const Table<QByteArray, QStringList> rows{
        // no line where the entry is a message
        {"1.5", lines({"error: Not a serialised object, of QJson type: 2"})},
        {"null", lines({"error: Not a serialised object, of QJson type: 0"})},
        {"[]", lines({"error: Not a serialised object, of QJson type: 4"})},
        {"{}", lines({"error: Not recognised as a serialised message: "})},
        {R"({"b": 1, "DatacoreJsonMessage": {}})",
         lines({"error: Not recognised as a serialised message: DatacoreJsonMessage, b"})},
        {R"({"Other": {}, )" + base + "}",
         lines({"error: Unsupported message type: MessageBase, Other"})},
        {R"({"DatacoreActiveStatusMessage": {}, )" + base + "}", {}},
    };
    QJsonArray all;
    QStringList expected;
    for (const auto& [text, told] : rows) {
        const QJsonValue entry = parse(text);
        all.append(entry);
        const LogCapture log;
        CHECK(deserialiseMessages({entry}).size() == (told.isEmpty() ? 1 : 0));
        CHECK(log.lines() == told);
        expected += told;
    }
    const LogCapture log;
    const auto messages = deserialiseMessages(all);
    REQUIRE(messages.size() == 1);
    CHECK(messages[0]->getIdentifier() == 7);
    CHECK(log.lines() == expected);
}

TEST_CASE("A message of several classes is of the first that the factory knows", "[datacore]")
{
    const auto messages = deserialiseMessages(
        {parse(R"({"DatacoreJsonMessage": 1, "DatacoreValidStatusMessage": 1, "MessageBase": 1})"),
         parse(R"({"DatacoreActiveStatusMessage": 1, "DatacoreValidStatusMessage": 1,
                   "MessageBase": {"identifier": "text"}})")});
    REQUIRE(messages.size() == 2);
    CHECK(messages[0]->getClass() == "DatacoreJsonMessage"_s);
    CHECK(messages[0]->getIdentifier() == -1); // a missing key leaves the default
    CHECK(messages[0]->getType() == MessageBase::MessageType_Info);
    CHECK(messages[1]->getClass() == "DatacoreValidStatusMessage"_s);
    CHECK(messages[1]->getIdentifier() == 0); // a key of another kind does not
}

TEST_CASE("A class makes a message of its own from an object of another", "[datacore]")
{
    const QJsonObject json = DatacoreValidStatusMessage(MessageBase::MessageType_Error, 6).toJson();
    const LogCapture log;
    const auto valid = DatacoreValidStatusMessage::makeFromJson(json);
    CHECK(valid.getIdentifier() == 6);
    CHECK(valid.getType() == MessageBase::MessageType_Error);
    const auto active = DatacoreActiveStatusMessage::makeFromJson(json);
    CHECK(active.getIdentifier() == DatacoreActiveStatusMessage::MessageContent_NoContent);
    CHECK(active.getType() == MessageBase::MessageType_Info);
    CHECK_FALSE(active.hasText());
    CHECK(DatacoreValidStatusMessage::makeFromJson(active.toJson()).getIdentifier() == 0);
    CHECK(log.lines().isEmpty());
    CHECK(DatacoreJsonMessage::makeFromJson(json).getIdentifier() == -1);
    CHECK(log.lines() == lines({"error: Failed to construct a DatacoreJsonMessage from "
                                "DatacoreValidStatusMessage, MessageBase"}));
}

TEST_CASE("Messages are equal by their numbers, whatever their class", "[datacore]")
{
    const DatacoreValidStatusMessage message(MessageBase::MessageType_Error, 5);
    CHECK(message.equals(DatacoreActiveStatusMessage(MessageBase::MessageType_Error, 5)));
    DatacoreValidStatusMessage other = message;
    CHECK(other.equals(message));
    other.setIdentifier(6);
    CHECK_FALSE(other.equals(message));
    other.setIdentifier(5);
    other.setType(MessageBase::MessageType_Info);
    CHECK_FALSE(other.equals(message));
}
