/**
 * @file   plot_data.h
 * @brief  Computes the curves of the plots.
 */
#pragma once

#include <functional>

#include "HostKit/library.h"
#include "plots/plot.h"

namespace kesh_host {

/** The parameters of the computation of a plot. */
struct PlotJob {
    const Library& library;
    unsigned points;                       ///< of a curve
    std::function<void(double)> progress;  ///< receives the fraction that is done
    std::function<bool()> stop;
};

/** Thrown when the user stopped the computation. */
struct PlotStopped {};

/** The offset logarithmic integral, the integral of 1/ln t from 2 to x. Precondition: x >= 2. */
double logarithmic_integral(double x);

/**
 * The expected number of twins up to x: twice the twin prime constant times the integral of 1/ln^2 t from 2 to x.
 * Precondition: x >= 2.
 */
double expected_twins(double x);

/** pi(x), x / ln x and Li(x) over [a, b]. */
Plot pi_plot(const PlotJob& job, umint a, umint b);
/** How often each gap between neighbouring primes occurs in [a, b]. */
Plot gap_plot(const PlotJob& job, umint a, umint b);
/** Twin primes in [a, x], counted and expected. */
Plot twin_plot(const PlotJob& job, umint a, umint b);

}  // namespace kesh_host
