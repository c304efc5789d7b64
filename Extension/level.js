// The peak level of the samples, linear in decibels: 0 is −60 dB or less, 1 is full scale.
export function levelOf(samples) {
  const peak = samples.reduce((max, sample) => Math.max(max, Math.abs(sample)), 0);
  return peak > 0 ? Math.min(1, Math.max(0, 1 + (20 * Math.log10(peak)) / 60)) : 0;
}
