// A database that has something of everything, in two copies of its segments to do damage to.
#pragma once

#include "check/checking.h"
#include "check/stores.h"
#include "support/random.h"

namespace zelfdb {

class DamagedDatabase : public FurnishedDatabase {
protected:
    static constexpr std::size_t first_word = 3 * sizeof(u32);  // behind the counts, without which nothing can be done

    void SetUp() override
    {
        FurnishedDatabase::SetUp();
        healthy_ = snapshot();
        restore();
    }
    void restore()
    {
        main_ = healthy_.main;
        fdb_ = healthy_.fdb;
    }
    void put(std::size_t at, u32 word) { std::memcpy(main_.data() + at, &word, sizeof word); }
    [[nodiscard]] u32 word_at(std::size_t at) const
    {
        u32 word = 0;
        std::memcpy(&word, main_.data() + at, sizeof word);
        return word;
    }

    void fill_with_noise()
    {
        for (std::size_t at = first_word; at < main_.size(); at += sizeof(u32)) put(at, random_.word());
        for (u8& byte : fdb_) byte = static_cast<u8>(random_.below(256));
    }
    void fill_with(u8 byte)
    {
        std::fill(main_.begin() + first_word, main_.end(), byte);
        std::fill(fdb_.begin(), fdb_.end(), byte);
    }
    // Words that lead to records, of the right kind or of another, so that walks go a long way.
    void fill_with_links()
    {
        for (std::size_t at = first_word; at < main_.size(); at += sizeof(u32)) put(at, somewhere());
    }
    // Some words become others: those that the records have in use, or any.
    void change_some_words()
    {
        const u32 changes = 1u << random_.below(11);
        for (u32 i = 0; i < changes; ++i) {
            const u32 other = word_at(sizeof(u32) * any_word());
            put(sizeof(u32) * likely_word(), random_.once_in(3) ? random_.word() : other);
        }
        for (u32 i = 0; i < changes / 16; ++i) {
            fdb_[random_.below(static_cast<u32>(fdb_.size()))] = static_cast<u8>(random_.below(256));
        }
    }

    Random random_;
    std::vector<u8> main_;
    std::vector<u8> fdb_;

private:
    u32 somewhere()
    {
        switch (random_.below(9)) {
        case 0: return stores_.port.offset(random_.below(default_nport)).value;
        case 1: return stores_.stream.offset(random_.below(stream_count)).value;
        case 2: return stores_.queue.offset(random_.below(queue_count)).value;
        case 3: return stores_.vlan.offset(random_.below(default_nvlan)).value;
        case 4: return stores_.pv.offset(random_.below(default_nvlan * pvs_per_vlan)).value;
        case 5: return stores_.classify.offset(random_.below(classify_count)).value;
        case 6: return stores_.action.offset(random_.below(action_count)).value;
        case 7: return random_.below(default_nfil) * static_cast<u32>(sizeof(Fil));
        default: return none.value;
        }
    }
    u32 word_of(u64 at, u64 size_bytes)
    {
        return static_cast<u32>(at / sizeof(u32)) + random_.below(static_cast<u32>(size_bytes / sizeof(u32)));
    }
    u32 any_word() { return word_of(first_word, main_.size() - first_word); }
    u32 likely_word()
    {
        switch (random_.below(4)) {
        case 0: return word_of(first_word, sizeof(Header) - first_word);
        case 1: return word_of(layout_.port, default_nport * sizeof(Port));
        case 2: return word_of(layout_.vlan, default_nvlan * sizeof(VlanSlot));
        default: return any_word();
        }
    }

    const Layout layout_ = layout_of(default_nport, default_nvlan, default_nfil);
    const audit::Stores stores_ =
        audit::stores_of({nullptr, 0, nullptr, 0}, default_nport, default_nvlan, default_nfil);
    Snapshot healthy_;
};

}  // namespace zelfdb
