#pragma once

#include <tavrix_sim.hpp>

/// Replaces the simulated host's filters by ones of the same names and items that pass frames on. Also hands the host's
/// product-id lists to the library, and makes objects of all kinds, so that the host reuses memory from then on.
void makeHostTrivial();

/// The depth stream of a family; every family has one.
const vysim_stream& depthStream(const vysim_family& family);
/// A small frame of the stream's format.
vysim::Frame makeSmallFrame(const vysim_stream& stream);
