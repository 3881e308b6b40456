#include "tuner/optimiser.h"

#include "tuner/texelWorker.h"
#include "tuner/tuningData.h"

namespace tarvonel
{

namespace
{

constexpr int sweeps = 5;
constexpr double refinement = 10; ///< each sweep looks at tenths of the step of the one before
constexpr double errorBeyondAll = 99999999999.0;

/// Changes the parameter and returns whether that lowers the error, which is then the best.
bool lowersError(const parameterList &parameters, std::size_t index, int amount, double &best)
{
    applyStep(parameters, index, amount);
    const double error = meanError();
    if (!(error < best))
        return false;
    best = error;
    return true;
}

/// Tries smaller and smaller steps, up first. The step size that helped is where the next pass
/// begins; the smallest is tried only by a parameter that begins there.
bool improve(parameterList &parameters, std::size_t index, double &best)
{
    tuningParameter &parameter = parameters[index];
    do
    {
        const int step = tuningSteps[parameter.stepIndex];
        if (lowersError(parameters, index, step, best) || lowersError(parameters, index, -2 * step, best))
            return true;
        applyStep(parameters, index, step);
        if (parameter.stepIndex > 0)
            --parameter.stepIndex;
    } while (parameter.stepIndex > 0);
    return false;
}

} // namespace

double findK(const tunerOutput &print)
{
    double best = 1.0;
    double step = 1.0;
    double lowest = errorBeyondAll;
    for (int sweep = 0; sweep < sweeps; ++sweep)
    {
        for (double k = best - step; k <= best + step; k += step / refinement)
        {
            tuningK = k;
            const double error = meanError();
            print(lineOf("Trying the following K value ", k, " error: ", error));
            if (error < lowest)
            {
                lowest = error;
                best = k;
            }
        }
        step /= refinement;
    }
    print(lineOf(" Optimal K calculated : ", best));
    return best;
}

void optimise(parameterList &parameters, const tunerOutput &print)
{
    double best = meanError();
    print(lineOf("Starting error ", best));
    bool improved = true;
    for (int pass = 1; improved; ++pass)
    {
        improved = false;
        for (std::size_t index = 0; index < parameters.size(); ++index)
        {
            if (!improve(parameters, index, best))
                continue;
            improved = true;
            const tuningParameter &parameter = parameters[index];
            print(lineOf("Min error ", best, " parameter ", index, " ", parameter.name, " stepsize ",
                         parameter.stepIndex));
        }
        print(lineOf("\n Improving: ", pass));
        if (pass % 2 == 0)
            printParameters(parameters, print);
    }
    print(lineOf("Ending error ", meanError(), " Minimum error ", best));
}

bool texel(int threads, pos &position, const tunerOutput &print, parameterRegistration enter)
{
    if (!loadTuningPositions(position, print))
        return false;
    const int granted = createTexelWorkers(threads, print);
    if (granted < threads)
        print(lineOf("info string Only ", granted, " threads could be started"));
    if (granted == 0)
        return false;
    print("Starting texel tuning....\n");

    parameterList parameters;
    enter(parameters);
    tuningK = findK(print);
    writeMirrorImages(parameters);
    printParameters(parameters, print);
    optimise(parameters, print);
    printParameters(parameters, print);
    return true;
}

} // namespace tarvonel
