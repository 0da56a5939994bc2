// Scores all of many traces with each other.
#pragma once

#include <vector>

#include "classifier/points.h"

// See HGR::cal_sim_matrix; `matrix` has room for n x n scores.
void similarity_matrix(const std::vector<Points>& traces, int k, float* matrix);
