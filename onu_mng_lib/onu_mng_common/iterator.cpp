#include "onu_mng_lib/onu_mng_common/iterator.h"

#include <new>

Aggregate& Aggregate::operator=(const Aggregate&) {
    delete p_iterator;
    p_iterator = nullptr;
    return *this;
}

Aggregate::~Aggregate() {
    delete p_iterator;
}

Iterator* Aggregate::CreateIterator() {
    Iterator* iterator = static_cast<const Aggregate*>(this)->CreateIterator();
    if (iterator != nullptr) iterator->Begin();
    return iterator;
}

Iterator* Aggregate::CreateIterator() const {
    if (p_iterator == nullptr) p_iterator = new (std::nothrow) Iterator(this);
    return p_iterator;
}

Iterator& Iterator::operator=(const Iterator& other) {
    if (this == &other) return *this;
    p_aggregate = other.p_aggregate;
    index = 0;
    return *this;
}

bool Iterator::IsEnd() const {
    return p_aggregate == nullptr || index >= p_aggregate->GetSize();
}

AggregateObject* Iterator::CurrentItem() const {
    return p_aggregate == nullptr ? nullptr : p_aggregate->GetItem(index);
}

void Iterator::Next() {
    if (p_aggregate != nullptr && index < p_aggregate->GetSize()) ++index;
}
