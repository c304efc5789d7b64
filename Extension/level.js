// The level of some samples: 0 is silence (−60 dB or less), 1 full scale.
export function levelOf(samples) {
  const peak = samples.reduce((most, sample) => Math.max(most, Math.abs(sample)), 0);
  return peak > 0 ? Math.min(1, Math.max(0, 1 + (20 * Math.log10(peak)) / 60)) : 0;
}
