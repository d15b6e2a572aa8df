// What an element of a node tells the node.
#pragma once

/// How an element reports to its owner. Which of the two functions it calls decides whether a
/// mirror has something to send onwards.
class DatacoreElementPrivateInterface
{
public:
    virtual ~DatacoreElementPrivateInterface() = default;

    /// Incoming JSON has changed the element.
    virtual void elementPopulated() = 0;
    /// Anything else has changed the element.
    virtual void elementChangedLocally() = 0;
};
