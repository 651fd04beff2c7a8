#pragma once

/// Has callgrind count a frame of every stream of every virtual camera, at its native size. Prints a line
/// `camera/FAMILY/SENSOR<tab>host<tab>times<tab>0` for each of callgrind's dumps, as count() does.
void countCameras();

/// Registers with Google Benchmark: the time that each stream takes for a frame, and all streams of a camera at once on
/// 1, 2 and 4 threads.
void registerCameras();
