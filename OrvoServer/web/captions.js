// The package has one cue per word; this joins them into phrases.

export const MAX_LINE = 42; // Characters.
const MAX_PHRASE = 7; // Seconds.
const PAUSE = 0.8; // Seconds of silence that end a phrase.
const PARAGRAPH_PAUSE = 2; // Seconds of silence that end a paragraph.
const PARAGRAPH = 320; // Characters after which a paragraph ends with its sentence.
const LINGER = 1.2; // Seconds that a phrase stays after its last word.

const ENTITIES = { amp: "&", lt: "<", gt: ">", nbsp: " ", lrm: "\u200e", rlm: "\u200f" };

function seconds(stamp) {
  const parts = stamp.split(":").map(Number);
  return parts.reduce((sum, part) => sum * 60 + part, 0);
}

/** Parses the words of a WebVTT document, in time order: [{ start, end, text }], in seconds. */
export function wordsOf(document) {
  const words = [];
  for (const block of document.replace(/\r\n?/g, "\n").split(/\n{2,}/)) {
    const lines = block.split("\n");
    const timing = lines.findIndex((line) => line.includes("-->"));
    if (timing < 0) continue;
    const match = lines[timing].match(/([\d:.]+)\s+-->\s+([\d:.]+)/);
    const text = lines.slice(timing + 1).join(" ").replace(/<[^>]*>/g, "")
      .replace(/&(\w+);/g, (whole, name) => ENTITIES[name] ?? whole).replace(/\s+/g, " ").trim();
    if (!match || !text) continue;
    words.push({ start: seconds(match[1]), end: seconds(match[2]), text });
  }
  return words.sort((a, b) => a.start - b.start);
}

const endsSentence = (text) => /[.!?…]["»”’)\]]*$/.test(text);
const endsClause = (text) => /[,;:.!?…]["»”’)\]]*$/.test(text);

/** Breaks words[first..last] into two lines: the index of the second line's first word, or null for one line. */
function lineBreak(words, first, last) {
  const lengths = [];
  let total = -1;
  for (let i = first; i <= last; i++) lengths.push(total += words[i].text.length + 1);
  if (total <= MAX_LINE) return { fits: true, at: null };
  let best = { fits: false, at: null };
  let cost = Infinity;
  for (let i = first; i < last; i++) {
    const upper = lengths[i - first];
    const lower = total - upper - 1;
    if (upper > MAX_LINE || lower > MAX_LINE) continue;
    const found = Math.abs(upper - lower) - (endsClause(words[i].text) ? 14 : 0);
    if (found < cost) [cost, best] = [found, { fits: true, at: i + 1 }];
  }
  // The browser breaks a word longer than a line.
  return first === last ? { fits: true, at: null } : best;
}

/** Splits a run of words without long pauses into phrases at minimum total cost, which penalises phrases of a single word. */
function phrasesOfRun(words, first, last) {
  const best = new Array(last - first + 2).fill(null);
  best[0] = { cost: 0 };
  for (let end = first; end <= last; end++) {
    for (let begin = end; begin >= first; begin--) {
      const { fits, at } = lineBreak(words, begin, end);
      const long = words[end].end - words[begin].start > MAX_PHRASE;
      if (begin < end && (!fits || long)) break;
      const before = best[begin - first];
      const length = words.slice(begin, end + 1).reduce((sum, word) => sum + word.text.length + 1, -1);
      const ending = end === last || endsSentence(words[end].text) ? 0 : endsClause(words[end].text) ? 12 : 40;
      const cost = before.cost + 30 + ending + ((2 * MAX_LINE - length) / 12) ** 2 / 2;
      if (!best[end - first + 1] || cost < best[end - first + 1].cost) best[end - first + 1] = { cost, begin, at };
    }
  }
  const phrases = [];
  for (let end = last; end >= first;) {
    const { begin, at } = best[end - first + 1];
    phrases.unshift({ first: begin, last: end, second: at });
    end = begin - 1;
  }
  return phrases;
}

/**
 * Phrases of at most two lines: [{ first, last, second, start, end }]. `first` and `last` are word indices, `second` is the index of
 * the second line's first word or null, `start` and `end` are when the phrase is shown, in seconds.
 */
export function phrasesOf(words) {
  const phrases = [];
  for (let first = 0; first < words.length;) {
    let last = first;
    // A run ends with its sentence or at a pause. Runs without punctuation are split to limit the work.
    while (last + 1 < words.length && last - first < 200 && !endsSentence(words[last].text)
      && words[last + 1].start - words[last].end < PAUSE) last++;
    phrases.push(...phrasesOfRun(words, first, last));
    first = last + 1;
  }
  phrases.forEach((phrase, index) => {
    const next = phrases[index + 1];
    phrase.start = words[phrase.first].start;
    phrase.end = Math.min(words[phrase.last].end + LINGER, next ? words[next.first].start : Infinity);
  });
  return phrases;
}

/** The paragraphs of the text, as ranges of words: [{ first, last }]. */
export function paragraphsOf(words) {
  const paragraphs = [];
  let first = 0;
  let length = 0;
  words.forEach((word, index) => {
    length += word.text.length + 1;
    const next = words[index + 1];
    const pause = next ? next.start - word.end : Infinity;
    if (pause >= PARAGRAPH_PAUSE || (length >= PARAGRAPH && (endsSentence(word.text) || length >= 3 * PARAGRAPH))) {
      paragraphs.push({ first, last: index });
      [first, length] = [index + 1, 0];
    }
  });
  return paragraphs;
}

/** The index of the last item in a sorted list whose start is at most `moment`, or -1. */
export function lastStarted(list, moment) {
  let low = 0;
  let high = list.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (list[middle].start <= moment) low = middle + 1;
    else high = middle;
  }
  return low - 1;
}
