// Assembles Extended Data Services (CEA-608, clause 9) from the pairs of field 2. One thread.
#pragma once

#include "infrastructure/utility/captions/XdsPacket.h"
#include "infrastructure/utility/captions/XdsPacketPool.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

/// One pair of either field; passed by value, in one or two registers.
struct alignas(4) XdsPair
{
    uint8_t c1 = 0; ///< without parity
    uint8_t c2 = 0;
    uint8_t raw1 = 0; ///< as received
    uint8_t raw2 = 0;
    bool isField1 = false;
    uint8_t spare = 0;

    /// The pair for two bytes as received.
    static constexpr XdsPair fromRaw(uint8_t raw1, uint8_t raw2, bool isField1)
    {
        return {static_cast<uint8_t>(raw1 & 0x7F),
                static_cast<uint8_t>(raw2 & 0x7F),
                raw1,
                raw2,
                isField1,
                0};
    }
};

static_assert(sizeof(XdsPair) == 8, "six bytes and two of padding");

/// The result of one step of the decoder.
enum XdsResult {
    XdsOk = 0,                ///< pair used or ignored, no packet ready
    XdsPacketReady = 1,       ///< a finished packet whose checksum is right
    XdsNoOpenPacket = 2,      ///< a continue or data pair that belongs to no packet
    XdsChecksumFailed = 3,    ///< end pair, but the checksum is wrong: the packet is dropped
    XdsBadState = 4,          ///< the decoder's state is damaged
    XdsPacketTooLong = 5,     ///< 33 pairs and no end: the packet is dropped
    XdsEndWithoutPacket = 6,  ///< an end pair with no open packet
    XdsNoPacketAvailable = 7, ///< no packet free and none to recycle; or not 10 ancillary words
};

/// Collects the packets of all classes and types side by side, as the stream interleaves them; the
/// one touched last is the current one. A start pair for a class and type that is open restarts
/// that packet. When the pool is empty, the packet touched longest ago makes room. After any result
/// other than XdsOk and XdsPacketReady the caller may reset().
class Cc608XdsDecoder
{
public:
    /// The pool may serve several decoders; it must outlive them.
    explicit Cc608XdsDecoder(XdsPacketPool& packetPool);
    Cc608XdsDecoder(const Cc608XdsDecoder&) = delete;
    Cc608XdsDecoder& operator=(const Cc608XdsDecoder&) = delete;
    ~Cc608XdsDecoder();

    std::size_t openPacketCount() const { return openCount; }

    /// One step. `out` is null except with XdsPacketReady, when the packet is the caller's until
    /// released to the pool. Pairs of field 1 are ignored.
    XdsResult processPair(XdsPair pair, XdsPacket*& out)
    {
        out = nullptr;
        if (pair.isField1) {
            return XdsOk;
        }
        const XdsBytePair bytes{pair.c1, pair.c2, pair.raw1, pair.raw2};
        if (pair.c1 == 0 || pair.c1 > LAST_CONTROL_CODE) {
            return collect(bytes);
        }
        if (pair.c1 > XdsPacket::END_CODE && inPacket <= State_Collecting) {
            setState(State_Idle); // the open packets stay and can be resumed
            return XdsOk;
        }
        return processCode(bytes, out);
    }
    /// One step with the words of a CEA-608 ancillary packet (SMPTE ST 334-1), from the ancillary
    /// data flag to the checksum, one byte per word:
    ///
    ///   word  0         3     4     5     6               7     8     9
    ///         00 FF FF  0x61  0x02  0x03  field (bit 7)   pair        checksum
    ///
    /// Any other number of words gives XdsNoPacketAvailable.
    XdsResult processAncillaryPacket(const uint8_t* words, std::size_t size, XdsPacket*& out);
    XdsResult processAncillaryPacket(const std::vector<uint8_t>& words, XdsPacket*& out);
    /// Drops all open packets and waits for a start pair.
    void reset();

private:
    enum State : uint8_t { State_Idle = 0, State_Collecting = 1 };

    static constexpr uint8_t LAST_CONTROL_CODE = 0x1F; ///< the first is the one after END_CODE
    static constexpr std::size_t TYPE_COUNT = 128;
    static constexpr std::size_t CLASS_COUNT = 7;

    using Node = XdsPacketPool::Node;

    XdsResult collect(XdsBytePair pair)
    {
        return target->appendUnchecked(pair) < XdsPacket::MAX_PAIRS ? XdsOk : handleFullTarget();
    }
    XdsResult handleFullTarget();
    XdsResult processCode(XdsBytePair pair, XdsPacket*& out);
    XdsResult start(XdsBytePair pair);
    XdsResult resume(XdsBytePair pair);
    XdsResult end(XdsBytePair pair, XdsPacket*& out);

    void setState(State state)
    {
        inPacket = state;
        target = state == State_Collecting ? current() : &unowned;
        // When collecting without a packet, the next pair is to be reported; when idle, there is
        // none.
        unowned.setCount(state == State_Collecting ? XdsPacket::MAX_PAIRS - 1 : 0);
    }
    static std::size_t slotOf(uint8_t startCode, uint8_t type);
    Node* nodeToStart(std::size_t slot);
    Node* current() const { return unowned.older; }
    bool hasOpenPacket() const { return openCount != 0; }
    Node* removeCurrent();
    void linkAsCurrent(Node* node);
    void unlink(Node* node);

    XdsPacketPool& pool;
    std::size_t openCount = 0;
    State inPacket = State_Idle;
    /// Where pairs other than codes go: the current packet, or `unowned`. So a data pair need not
    /// check whether there is a packet.
    XdsPacket* target = &unowned;
    /// Closes the ring of open packets: its older neighbour is the newest, or itself if there is
    /// none. As a packet it takes the pairs that belong to no other, and forgets them when it is
    /// full.
    Node unowned;
    std::array<Node*, CLASS_COUNT * TYPE_COUNT> openPackets{}; ///< by class and type
};
