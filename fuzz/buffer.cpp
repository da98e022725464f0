// Variant as a byte buffer against a model; records that are read from any bytes and written again.

#include "fuzz/input.h"
#include "onu_mng_lib/onu_mng_common/iterator.h"
#include "tests/support/buffer_rules.h"

namespace {

// A record that can be read is written as it was, but for the length of a scalar, which its type tells.
void ReadRecords(const Variant& in) {
    for (unsigned int begin = in.GetPos();; begin = in.GetPos()) {
        Variant value;
        if (value.UnSerialize(in) != ONU_MNG_OK) return;
        ASSERT_GT(in.GetPos(), begin);
        if (value.IsEmpty()) continue;
        Variant out(VARIANT_TYPE_BUFFER, value.GetLen() + 5);
        ASSERT_EQ(value.Serialize(out), ONU_MNG_OK);
        Variant again;
        ASSERT_EQ(again.UnSerialize(Variant(out)), ONU_MNG_OK);
        ASSERT_EQ(again.GetType(), value.GetType());
        ASSERT_EQ(again, value);
    }
}

struct Values : Aggregate, AggregateObject {
    AggregateObject* GetItem(unsigned int index) override { return index < size ? this : nullptr; }
    unsigned int GetSize() const override { return size; }
    unsigned int size = 0;
};

// The collection grows and shrinks under a walk.
void Walk(FuzzInput& input) {
    Values values;
    Iterator* const walk = values.CreateIterator();
    for (unsigned int index = 0, step = 0; step < 16; ++step) {
        values.size = input.Below(4);
        ASSERT_EQ(walk->IsEnd(), index >= values.size);
        ASSERT_EQ(walk->CurrentItem() == nullptr, walk->IsEnd());
        index += walk->IsEnd() ? 0 : 1;
        walk->Next();
    }
}

} // namespace

void TryInput(FuzzInput& input) {
    if (input.Below(2) == 0) {
        ReadRecords(Buffer(input.Rest()));
        return;
    }
    Walk(input);
    while (!input.IsOver())
        ExchangeWithABuffer(input);
}
