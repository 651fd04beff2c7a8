#pragma once

#include <tavrix_sim.hpp>

/// Makes the simulated host's filters do nothing: under their names, with their items, they pass frames on. Also hands
/// the library the host's product-id lists, and has objects of all kinds made once, so that the host reuses memory.
void makeHostTrivial();

/// The depth stream of a family; every family has one.
const vysim_stream& depthStream(const vysim_family& family);
/// A frame of a few pixels, such as that stream delivers.
vysim::Frame makeSmallFrame(const vysim_stream& stream);
