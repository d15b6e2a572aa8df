#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"
#include "sw/infrastructure_test/Catch.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <functional>

namespace {

/// Notes its name for each packet that it gets.
class Acceptor : public SerialisableDataPacketAcceptorInterface
{
public:
    Acceptor(QString acceptorName, QStringList& sharedJournal)
        : name(std::move(acceptorName))
        , journal(sharedJournal)
    {
    }
    bool canAcceptPacket(QString className) override { return className != refused; }
    void acceptPacket(const SerialisableDataPacket& packet) override
    {
        journal.append(name + packet.getPacketClassName());
    }

    QString refused;

private:
    QString name;
    QStringList& journal;
};

} // namespace

TEST_CASE("Packets go to the acceptors of their class, in the order of registration", "[packets]")
{
    QStringList journal;
    Acceptor a(QStringLiteral("a:"), journal);
    Acceptor b(QStringLiteral("b:"), journal);
    SerialisableDataPacketDistributor distributor;
    distributor.registerPacketAcceptor(b, QStringLiteral("One"));
    distributor.registerPacketAcceptor(a, {QStringLiteral("One"), QStringLiteral("Two")});
    distributor.registerPacketAcceptor(b, QStringLiteral("One"));

    distributor.acceptPacket(SerialisableDataPacket(QStringLiteral("One")));
    distributor.receivePacket(std::make_shared<SerialisableDataPacket>(QStringLiteral("Two")));
    distributor.receivePacket(nullptr);
    CHECK(journal == QStringList{QStringLiteral("b:One"), QStringLiteral("a:One"),
                                 QStringLiteral("b:One"), QStringLiteral("a:Two")});
}

TEST_CASE("What nobody takes is logged with its class, and so is a refused registration",
          "[packets]")
{
    QStringList journal;
    Acceptor acceptor(QStringLiteral("a:"), journal);
    acceptor.refused = QStringLiteral("Two");
    SerialisableDataPacketDistributor distributor;
    const LogCapture log;
    distributor.registerPacketAcceptor(acceptor, QStringLiteral("Two"));
    distributor.acceptPacket(SerialisableDataPacket(QStringLiteral("Two")));
    distributor.acceptPacket(SerialisableDataPacket(QJsonObject()));
    CHECK(log.lines() ==
          QStringList{QStringLiteral("info: Could not register packetAcceptor to accept packets of "
                                     "the class Two"),
                      QStringLiteral("info: There are no packet acceptors registered for packets "
                                     "of type Two"),
                      QStringLiteral("info: There are no packet acceptors registered for packets "
                                     "of type ")});
    CHECK(journal.isEmpty());
}

TEST_CASE("An acceptor may end the client with its distributor", "[packets]")
{
    struct Ending : Acceptor
    {
        using Acceptor::Acceptor;
        void acceptPacket(const SerialisableDataPacket& packet) override
        {
            Acceptor::acceptPacket(packet);
            client.reset();
        }
        std::unique_ptr<SerialisableDataPacketDistributor> client =
            std::make_unique<SerialisableDataPacketDistributor>();
    };
    QStringList journal;
    Acceptor after(QStringLiteral("after:"), journal);
    Ending ending(QStringLiteral("ending:"), journal);
    ending.client->registerPacketAcceptor(ending, QStringLiteral("One"));
    ending.client->registerPacketAcceptor(after, QStringLiteral("One"));
    ending.client->acceptPacket(SerialisableDataPacket(QStringLiteral("One")));
    CHECK(journal == QStringList{QStringLiteral("ending:One")});
}

TEST_CASE("A distributor takes every JSON packet of the process, and can hand on to another",
          "[packets]")
{
    const auto& registry = RawDataPacketReceiverInterfaceBase::registry;
    const int before = registry.count(0x1010);
    QStringList journal;
    Acceptor acceptor(QStringLiteral("a:"), journal);
    {
        SerialisableDataPacketDistributor outer;
        SerialisableDataPacketDistributor inner;
        CHECK(registry.count(0x1010) == before + 2);
        inner.registerPacketAcceptor(acceptor, QStringLiteral("One"));
        outer.registerPacketAcceptor(inner, QStringLiteral("One"));
        outer.acceptPacket(SerialisableDataPacket(QStringLiteral("One")));
    }
    CHECK(journal == QStringList{QStringLiteral("a:One")});
    CHECK(registry.count(0x1010) == before);
}
