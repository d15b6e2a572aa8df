#include "infrastructure/datacore/DatacoreStatusElement.h"

#include "infrastructure/datacore/DatacoreActiveStatusMessage.h"
#include "infrastructure/datacore/DatacoreValidStatusMessage.h"
#include "infrastructure/datacore/JsonText_p.h"
#include "infrastructure/datacore/PlainJson_p.h"

template <typename Message>
void DatacoreStatusElement<Message>::appendJsonText(JsonTextWriter& text) const
{
    if (isEmpty()) {
        text.append("[]");
    } else {
        DatacoreElement::appendJsonText(text);
    }
}

template <typename Message>
void DatacoreStatusElement<Message>::readPlainJson(const PlainJsonValue& value)
{
    if (!value.isEmptyArray() || !isEmpty()) {
        readJsonValue(value.toJsonValue());
    }
}

template class DatacoreStatusElement<DatacoreActiveStatusMessage>;
template class DatacoreStatusElement<DatacoreValidStatusMessage>;
