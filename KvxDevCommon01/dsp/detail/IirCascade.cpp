// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/detail/IirCascade.h>

#include <utility>

namespace kvx {
namespace {

RunningSection At(const IirGroup& group, int s) {
    return {{group.side[s], group.direct[s], group.n0[s], group.n1[s], group.n2[s], group.glide[s],
             group.leak[s], group.x1[s], group.x2[s], group.r1[s], group.r2[s], group.v1[s]}};
}
void SetMemory(IirGroup& group, int s, const IirSection& section) {
    group.x1[s] = section.x1;
    group.x2[s] = section.x2;
    group.r1[s] = section.r1;
    group.r2[s] = section.r2;
    group.v1[s] = section.v1;
}
void Set(IirGroup& group, int s, const IirSection& section) {
    group.side[s] = section.side;
    group.direct[s] = section.direct;
    group.n0[s] = section.n0;
    group.n1[s] = section.n1;
    group.n2[s] = section.n2;
    group.glide[s] = section.glide;
    group.leak[s] = section.leak;
    SetMemory(group, s, section);
}

IirGroup IdleGroup() {
    IirGroup group{};
    for (double& side : group.side) side = 1.0;
    for (double& r1 : group.r1) r1 = 1.0;
    for (double& r2 : group.r2) r2 = 1.0;
    return group;
}

}  // namespace

IirCascade::Filler::Filler(const IirCascade& cascade) : group_(cascade.groups), left_(cascade.sectionCount) {
    std::fill_n(group_, GroupsFor(left_), IdleGroup());
}

void IirCascade::Filler::Add(const IirSection& section) {
    Set(*group_, place_, section);
    if (++place_ < NextGroupOf(left_)) return;
    left_ -= std::exchange(place_, 0);
    ++group_;
}

void IirCascade::SetState(double value) const {
    ForEachGroup([value](IirGroup& group, int count) {
        for (int s = 0; s < count; ++s) {
            RunningSection section = At(group, s);
            section.SetState(value, value, value, value);
            SetMemory(group, s, section);
        }
    });
}

double IirCascade::Filter(double x) const {
    if (sectionCount > 0) x = OrSilence(x);
    ForEachGroup([&x](IirGroup& group, int count) {
        for (int s = 0; s < count; ++s) {
            RunningSection section = At(group, s);
            x = section.Step(x);
            SetMemory(group, s, section);
        }
    });
    return x;
}

void IirCascade::Filter(const double* data, double* out, __int64 count) const {
    if (sectionCount == 1) {
        RunningSection section = At(groups[0], 0);
        for (__int64 i = 0; i < count; ++i) out[i] = section.Step(OrSilence(data[i]));
        SetMemory(groups[0], 0, section);
        return;
    }
    // Singly, sections that follow each other work at once as well, though fewer of them.
    if (sectionCount == 0 || count < kIirRound * std::min<__int64>(sectionCount, kIirSections)) {
        for (__int64 i = 0; i < count; ++i) out[i] = Filter(data[i]);
        return;
    }
    bool isInput = true;
    ForEachGroup([&](IirGroup& group, int sections) {
        ActiveKernels<IirKernels>().runSections(&group, sections, isInput, isInput ? data : out, out, count);
        isInput = false;
    });
}

}  // namespace kvx
