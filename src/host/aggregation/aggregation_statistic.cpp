// The data holders of the aggregation service. The cube fills AggregationResult values; these
// classes only carry what a statistic is asked to compute and what it gave.
#include "platform/aggregation.h"

AggregationStatistic::AggregationStatistic(TableEncryptionCodes::StatisticCodes code)
    : code_(code) {}

TableEncryptionCodes::StatisticCodes AggregationStatistic::GetSummaryStatistic() const {
    return code_;
}
void AggregationStatistic::SetVarIndex(int index) {
    varIndex_ = index;
}
int AggregationStatistic::GetVarIndex() const {
    return varIndex_;
}
void AggregationStatistic::SetLowerLimit(double limit) {
    lowerLimit_ = limit;
}
double AggregationStatistic::GetLowerLimit() const {
    return lowerLimit_;
}
void AggregationStatistic::SetUpperLimit(double limit) {
    upperLimit_ = limit;
}
double AggregationStatistic::GetUpperLimit() const {
    return upperLimit_;
}
void AggregationStatistic::SetPTileCutPoint(double cutPoint) {
    cutPoint_ = cutPoint;
}
double AggregationStatistic::GetPTileCutPoint() const {
    return cutPoint_;
}
void AggregationStatistic::SetCIMedian(double level) {
    ciMedian_ = level;
}
double AggregationStatistic::GetCIMedian() const {
    return ciMedian_;
}

AggregationResult::AggregationResult(double value) : value_(value) {}
AggregationResult::AggregationResult(double value, double value1, double value2)
    : value_(value), value1_(value1), value2_(value2) {}

AggregationResult& AggregationResult::operator=(double value) {
    value_ = value;
    value1_ = 0.0;
    value2_ = 0.0;
    return *this;
}

AggregationResult::operator double() const {
    return value_;
}
double AggregationResult::GetValue1() const {
    return value1_;
}
double AggregationResult::GetValue2() const {
    return value2_;
}
