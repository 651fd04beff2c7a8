#pragma once

/// The name begins a cache line, so that what benchmarks count for comparing names is not left to chance: a text that
/// crosses lines costs more.
struct alignas(64) HostFilter {
  char name[48];
  bool isPrivate;
};

/// All filters that the library asks the host for.
constexpr HostFilter kHostFilters[] = {
    {"FrameUnpacker", false},
    {"TalonFrameUnpacker", false},
    {"TiberonDecompress", false},
    {"CorvidPixelOffsetFix", false},
    {"NoiseRemovalFilter", false},
    {"DisparityTransform", false},
    {"HardwareD2DCorrectionFilter", false},
    {"FrameMirror", false},
    {"FrameFlip", false},
    {"FrameRotate", false},
    {"DepthResize", true},
    {"OpenNIDisparityTransform", true},
};
