// Inverse distribution functions on Boost.Math. Errors are turned off in the policy and the
// arguments are checked here, so that nothing throws into the command library.
#include <cmath>

#include <boost/math/distributions/beta.hpp>
#include <boost/math/distributions/students_t.hpp>

#include "platform/aggregation.h"
#include "platform/dictionary.h"

namespace {

using namespace boost::math::policies;
using QuietPolicy = policy<domain_error<ignore_error>, overflow_error<ignore_error>,
                           evaluation_error<ignore_error>, pole_error<ignore_error>>;

bool isOpenProbability(double p) {
    return p > 0.0 && p < 1.0;
}

double finiteOrInfinity(double value) {
    return std::isfinite(value) ? value : KWEL_Globals::infinity();
}

}  // namespace

double CtaDistFun::IdfT(double probability, double degreesOfFreedom) {
    if (!isOpenProbability(probability) || !(degreesOfFreedom > 0.0))
        return KWEL_Globals::infinity();
    boost::math::students_t_distribution<double, QuietPolicy> t(degreesOfFreedom);
    return finiteOrInfinity(boost::math::quantile(t, probability));
}

double CtaDistFun::IdfBet(double const& probability, double const& a, double const& b) {
    if (!isOpenProbability(probability) || !(a > 0.0) || !(b > 0.0) || !std::isfinite(a) ||
        !std::isfinite(b))
        return KWEL_Globals::infinity();
    boost::math::beta_distribution<double, QuietPolicy> beta(a, b);
    return finiteOrInfinity(boost::math::quantile(beta, probability));
}
