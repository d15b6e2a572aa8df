#include "infrastructure/utility/packets/SerialisableDataPacketDistributor.h"
#include "sw/infrastructure_test/TestSupport.h"

#include <functional>

namespace {

/// Notes its name for each packet that it gets.
struct Acceptor : SerialisableDataPacketAcceptorInterface
{
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
    QString name;
    QStringList& journal;
};

} // namespace

TEST_CASE("Packets go to the acceptors of their class, in the order of registration", "[packets]")
{
    QStringList journal;
    Acceptor a("a:"_s, journal);
    Acceptor b("b:"_s, journal);
    SerialisableDataPacketDistributor distributor;
    distributor.registerPacketAcceptor(b, "One"_s);
    distributor.registerPacketAcceptor(a, {"One"_s, "Two"_s});
    distributor.registerPacketAcceptor(b, "One"_s);

    distributor.acceptPacket(SerialisableDataPacket("One"_s));
    distributor.receivePacket(std::make_shared<SerialisableDataPacket>("Two"_s));
    distributor.receivePacket(nullptr);
    CHECK(journal == QStringList{"b:One"_s, "a:One"_s, "b:One"_s, "a:Two"_s});
}

TEST_CASE("What nobody takes is logged, and so is a refused registration", "[packets]")
{
    QStringList journal;
    Acceptor acceptor("a:"_s, journal);
    acceptor.refused = "Two"_s;
    SerialisableDataPacketDistributor distributor;
    const LogCapture log;
    distributor.registerPacketAcceptor(acceptor, "Two"_s);
    distributor.acceptPacket(SerialisableDataPacket("Two"_s));
    distributor.acceptPacket(SerialisableDataPacket(QJsonObject()));
    CHECK(
        log.lines() ==
        QStringList{"info: Could not register packetAcceptor to accept packets of the class Two"_s,
                    "info: There are no packet acceptors registered for packets of type Two"_s,
                    "info: There are no packet acceptors registered for packets of type "_s});
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
    Acceptor after("after:"_s, journal);
    Ending ending("ending:"_s, journal);
    ending.client->registerPacketAcceptor(ending, "One"_s);
    ending.client->registerPacketAcceptor(after, "One"_s);
    ending.client->acceptPacket(SerialisableDataPacket("One"_s));
    CHECK(journal == QStringList{"ending:One"_s});
}

TEST_CASE("A distributor takes every JSON packet, and can hand on to another", "[packets]")
{
    const auto& registry = RawDataPacketReceiverInterfaceBase::registry;
    const int before = registry.count(0x1010);
    QStringList journal;
    Acceptor acceptor("a:"_s, journal);
    {
        SerialisableDataPacketDistributor outer;
        SerialisableDataPacketDistributor inner;
        CHECK(registry.count(0x1010) == before + 2);
        inner.registerPacketAcceptor(acceptor, "One"_s);
        outer.registerPacketAcceptor(inner, "One"_s);
        outer.acceptPacket(SerialisableDataPacket("One"_s));
    }
    CHECK(journal == QStringList{"a:One"_s});
    CHECK(registry.count(0x1010) == before);
}
