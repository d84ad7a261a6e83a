// SPDX-License-Identifier: MIT
// What an earth server's answers cost before a picture is decoded: decrypting an image, opening and
// reading a whole quadtree packet, finding a node in it.
#include "Cipher.h"
#include "ImageChoice.h"
#include "PacketInflate.h"
#include "QuadPacket.h"
#include "View.h"

#include <benchmark/benchmark.h>

namespace KxC::EarthTest {
namespace {

constexpr int kDays = 20;
const std::string kKey(1016, 'k');

/// Every node of a packet, each with days.
std::string WholeProtobufPacket()
{
    NodeText node{0, 7, {}};
    for (std::uint32_t day = 0; day < kDays; ++day)
        node.days.push_back({(2000U + day) << 9 | 1U << 5 | 1U, day + 1, 9});
    std::vector<std::pair<int, NodeText>> nodes;
    for (int index = 0; index < Earth::SubIndex::kCount; ++index)
        nodes.emplace_back(index, node);
    return ProtobufPacket(nodes);
}

void AddWholeTree(std::vector<Instance>& instances, int levelsBelow)
{
    instances.push_back({levelsBelow > 0 ? 0x4FU : 0x40U, 0, 7});
    for (int child = 0; child < 4 && levelsBelow > 0; ++child)
        AddWholeTree(instances, levelsBelow - 1);
}

void BM_Decrypt(benchmark::State& state)
{
    std::vector<unsigned char> image(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        Earth::ApplyKey(image, View(kKey));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Decrypt)->Arg(20000);

void OpenAndRead(benchmark::State& state, const std::string& content)
{
    const std::string wire = Encrypt(Compress(content), kKey);
    for (auto _ : state) {
        std::vector<unsigned char> body(wire.begin(), wire.end());
        const Earth::OwnedBytes bytes = Earth::OpenPacket(body, View(kKey));
        benchmark::DoNotOptimize(Earth::ReadQuadPacket(bytes.View(), false));
    }
    state.counters["bytes"] = static_cast<double>(content.size());
}

void BM_ReadProtobufPacket(benchmark::State& state)
{
    OpenAndRead(state, WholeProtobufPacket());
}
BENCHMARK(BM_ReadProtobufPacket);

void BM_ReadBinaryPacket(benchmark::State& state)
{
    std::vector<Instance> instances;
    AddWholeTree(instances, 4);
    OpenAndRead(state, BinaryPacket(instances));
}
BENCHMARK(BM_ReadBinaryPacket);

void BM_ChooseDated(benchmark::State& state)
{
    const std::string content = WholeProtobufPacket();
    const Earth::QuadPacket packet = Earth::ReadProtobufPacket(View(content));
    const Earth::QuadPath tile = TileOf("2132101");
    const Earth::DateKey wanted = Earth::KeyOfDate({2010, 6, 1});
    for (auto _ : state)
        benchmark::DoNotOptimize(
            Earth::ChooseDated(packet.Find(Earth::SubIndex::Of(tile)), wanted));
}
BENCHMARK(BM_ChooseDated);

} // namespace
} // namespace KxC::EarthTest
