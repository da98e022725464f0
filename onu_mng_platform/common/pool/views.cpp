// The three views of mpu.h. Each first reads the records, without a lock, and then prints.
#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "onu_mng_platform/common/cli/terminal.h"
#include "onu_mng_platform/common/pool/core.h"
#include "onu_mng_platform/common/pool/pool.h"
#include "onu_mng_platform/common/pool/sites.h"

namespace onu_mng_platform {
namespace {

void Print(const char* format, ...) ONU_MNG_PRINTF_FORMAT(1, 2);

void Print(const char* format, ...) {
    char line[256];
    std::va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    if (vty* const terminal = CurrentTerminal()) {
        vty_out(terminal, "%s", line);
    } else {
        std::fputs(line, stdout);
    }
}

struct Tally {
    size_t blocks = 0;
    size_t bytes = 0;

    void Add(size_t size) {
        ++blocks;
        bytes += size;
    }
};

bool BelongsToCaller(const BlockView& block) {
    return block.tag.State() == BlockState::kLive || block.tag.State() == BlockState::kDamaged;
}

size_t CallersBytes(const BlockView& block) {
    return size_t{block.cells - block.tag.Slack()} * kCellBytes;
}

/// The largest request that a free block of `cells` cells serves.
size_t UsableBytes(uint32_t cells) {
    return size_t{cells - 1} * kCellBytes;
}

// The rows of the view by size: one for each 16 bytes up to 128, then one for each doubling.
constexpr size_t kFineRows = 8;
constexpr size_t kRows = kFineRows + 24;

size_t RowLimit(size_t row) {
    return row < kFineRows ? (row + 1) * kCellBytes : size_t{kFineRows * kCellBytes} << (row - kFineRows + 1);
}

size_t RowOf(size_t bytes) {
    size_t row = 0;
    while (row + 1 < kRows && bytes > RowLimit(row))
        ++row;
    return row;
}

struct SizeRow {
    Tally live;
    Tally stocked;
    Tally free;
};

void CountBySize(const Pool& pool, SizeRow* rows) {
    pool.ForEachBlock([rows](const BlockView& block) {
        if (BelongsToCaller(block)) {
            const size_t bytes = CallersBytes(block);
            return rows[RowOf(bytes)].live.Add(bytes);
        }
        const size_t bytes = UsableBytes(block.cells);
        SizeRow& row = rows[RowOf(bytes)];
        (block.tag.State() == BlockState::kStocked ? row.stocked : row.free).Add(bytes);
    });
}

struct SiteRow {
    Site site{};
    Tally live;
};

bool IsSamePlace(const SiteRow& a, const SiteRow& b) {
    return a.site.line == b.site.line && std::strcmp(a.site.file, b.site.file) == 0;
}

/// Joins the rows of a site whose file name is in memory more than once. Returns the number of rows left.
size_t JoinRows(SiteRow* rows, size_t count) {
    std::sort(rows, rows + count, [](const SiteRow& a, const SiteRow& b) {
        const int order = std::strcmp(a.site.file, b.site.file);
        return order != 0 ? order < 0 : a.site.line < b.site.line;
    });
    size_t last = 0;
    for (size_t i = 1; i < count; ++i) {
        if (IsSamePlace(rows[last], rows[i])) {
            rows[last].live.blocks += rows[i].live.blocks;
            rows[last].live.bytes += rows[i].live.bytes;
        } else {
            rows[++last] = rows[i];
        }
    }
    return count == 0 ? 0 : last + 1;
}

/// Fills a row for each site with live blocks, the one with most bytes first. Returns their number.
size_t CountBySite(const Pool& pool, SiteRow* rows) {
    pool.ForEachBlock([rows](const BlockView& block) {
        if (BelongsToCaller(block) && block.site < kMaxSites) rows[block.site].live.Add(CallersBytes(block));
    });
    for (uint32_t i = 0; i < kMaxSites; ++i) {
        if (rows[i].live.blocks != 0) rows[i].site = SiteAt(i);
    }
    SiteRow* const end =
        std::remove_if(rows, rows + kMaxSites, [](const SiteRow& row) { return row.live.blocks == 0; });
    const size_t count = JoinRows(rows, static_cast<size_t>(end - rows));
    std::sort(rows, rows + count,
              [](const SiteRow& a, const SiteRow& b) { return a.live.bytes > b.live.bytes; });
    return count;
}

size_t CountDamaged(const Pool& pool) {
    size_t damaged = 0;
    pool.ForEachBlock([&damaged](const BlockView& block) {
        if (block.tag.State() == BlockState::kDamaged) ++damaged;
    });
    return damaged;
}

} // namespace

void PoolShow() {
    Print("%4s  %-31s %10s %10s %10s %10s %10s\r\n", "Pool", "Name", "Size", "Used", "Peak", "Blocks",
          "Failures");
    for (int id = 0; const Pool* const pool = PoolAt(id); ++id) {
        const mpu_stat stat = pool->Stat();
        Print("%4d  %-31s %10zu %10zu %10zu %10zu %10lu\r\n", id, pool->Name(), stat.size, stat.used,
              stat.peak, stat.blocks, stat.fails);
    }
}

void PoolShowDetail(int pool_id) {
    const Pool* const pool = PoolAt(pool_id);
    if (pool == nullptr) return;
    SizeRow rows[kRows];
    CountBySize(*pool, rows);
    Print("Pool %d %s by size of block; stocked blocks are free and kept for the next request of their "
          "size\r\n",
          pool_id, pool->Name());
    Print("%11s %9s %11s %9s %11s %9s %11s\r\n", "Up to bytes", "Used", "Bytes", "Stocked", "Bytes", "Free",
          "Bytes");
    for (size_t i = 0; i < kRows; ++i) {
        const SizeRow& row = rows[i];
        if (row.live.blocks + row.stocked.blocks + row.free.blocks == 0) continue;
        Print("%11zu %9zu %11zu %9zu %11zu %9zu %11zu\r\n", RowLimit(i), row.live.blocks, row.live.bytes,
              row.stocked.blocks, row.stocked.bytes, row.free.blocks, row.free.bytes);
    }
}

void PoolShowDebug(int pool_id) {
    const Pool* const pool = PoolAt(pool_id);
    if (pool == nullptr) return;
    const std::unique_ptr<SiteRow[]> rows(new (std::nothrow) SiteRow[kMaxSites]);
    if (rows == nullptr) return Print("No memory for the view\r\n");
    const size_t count = CountBySite(*pool, rows.get());
    Print("Pool %d %s: used blocks by the place that took them\r\n", pool_id, pool->Name());
    Print("%9s %11s  %s\r\n", "Blocks", "Bytes", "Taken at");
    for (size_t i = 0; i < count; ++i) {
        const SiteRow& row = rows[i];
        Print("%9zu %11zu  %s:%d\r\n", row.live.blocks, row.live.bytes, row.site.file, row.site.line);
    }
    const size_t damaged = CountDamaged(*pool);
    if (damaged != 0) Print("%zu of them were written past their end and stay out of use\r\n", damaged);
}

} // namespace onu_mng_platform
