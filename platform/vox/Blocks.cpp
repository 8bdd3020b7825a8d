#include "Blocks.h"

#include <algorithm>
#include <cstring>

#include "FreedMemory.h"

namespace LumVoxMsg {

bool MemoryBudget::Take(std::size_t bytes) noexcept {
    std::size_t now = used.load();
    do {
        if (bytes > limit || now > limit - bytes) return false;
    } while (!used.compare_exchange_weak(now, now + bytes));
    return true;
}

bool BudgetShare::Raise(const std::shared_ptr<MemoryBudget>& from, std::size_t wanted) noexcept {
    if (wanted <= bytes) return true;
    const std::shared_ptr<MemoryBudget>& present = budget ? budget : from;
    if (!present->Take(wanted - bytes)) return false;
    budget = present;
    bytes = wanted;
    return true;
}

void BudgetShare::Clear() noexcept {
    if (!budget) return;
    budget->Give(bytes);
    LumVoxRpc::NoteFreed(bytes);
    budget = nullptr;
    bytes = 0;
}

Blocks::~Blocks() {
    Clear();
    LumVoxRpc::NoteFreed(appended);
}

bool Blocks::Append(const char* bytes, std::size_t count) {
    if (budget && !budget->Take(count)) return false;
    size += count;
    appended += count;
    while (count > 0) {
        if (blocks.empty() || blocks.back().size() == kBlockSize) blocks.emplace_back();
        const std::size_t part = std::min(count, kBlockSize - blocks.back().size());
        blocks.back().append(bytes, part);
        bytes += part;
        count -= part;
    }
    return true;
}

void Blocks::DropFirst() {
    const std::size_t bytes = blocks.front().size();
    blocks.pop_front();
    size -= bytes;
    if (budget) budget->Give(bytes);
}

void Blocks::Clear() {
    if (budget) budget->Give(size);
    blocks.clear();
    size = 0;
}

namespace {

class BlocksInput : public LumPalIo::InputStream_t::Impl {
public:
    BlocksInput(std::shared_ptr<Blocks> blocks, AfterRead after) : blocks(std::move(blocks)), after(after) {}

    std::int64_t Read(char* target, std::size_t length) override {
        while (index < blocks->GetCount() && offset == blocks->GetBlock(index).size()) NextBlock();
        if (index >= blocks->GetCount()) return -1;
        const std::string_view rest = blocks->GetBlock(index).substr(offset, length);
        std::memcpy(target, rest.data(), rest.size());
        offset += rest.size();
        return static_cast<std::int64_t>(rest.size());
    }

    std::size_t Available() override {
        return index < blocks->GetCount() ? blocks->GetBlock(index).size() - offset : 0;
    }

private:
    void NextBlock() {
        offset = 0;
        if (after == AfterRead::Free)
            blocks->DropFirst();
        else
            ++index;
    }

    const std::shared_ptr<Blocks> blocks;
    const AfterRead after;
    std::size_t index = 0, offset = 0;
};

class BlocksOutput : public LumPalIo::OutputStream_t::Impl {
public:
    explicit BlocksOutput(std::shared_ptr<Blocks> blocks) : blocks(std::move(blocks)) {}

    void Write(const char* bytes, std::size_t length) override {
        if (!blocks->Append(bytes, length))
            throw LumPalIo::IOException_t(LumPalMsg::CreateError_t("There is no memory left for messages."));
    }

private:
    const std::shared_ptr<Blocks> blocks;
};

}  // namespace

LumPalIo::InputStream_t ReadBlocks(std::shared_ptr<Blocks> blocks, AfterRead after) {
    return LumPalIo::InputStream_t(std::make_shared<BlocksInput>(std::move(blocks), after));
}

LumPalIo::OutputStream_t WriteBlocks(std::shared_ptr<Blocks> blocks) {
    return LumPalIo::OutputStream_t(std::make_shared<BlocksOutput>(std::move(blocks)));
}

std::shared_ptr<Blocks> MakeBlocks(std::string_view text) {
    auto blocks = std::make_shared<Blocks>();
    blocks->Append(text.data(), text.size());
    return blocks;
}

std::string JoinBlocks(const Blocks& blocks) {
    std::string text;
    text.reserve(blocks.GetSize());
    for (std::size_t i = 0; i < blocks.GetCount(); ++i) text += blocks.GetBlock(i);
    return text;
}

}  // namespace LumVoxMsg
