// Dates and spans in words.

const DAY = 86400000;

/** "2025-01-01T00:00:00Z" as people read it. */
export function dateText(iso) {
  return iso === null ? 'a date that cannot be read' : iso.replace('T', ' ').replace('Z', ' UTC');
}

export function dayText(iso) {
  return iso === null ? '?' : iso.slice(0, 10);
}

/** Milliseconds as "3 days", "2 hours": the largest unit, rounded down. */
export function spanText(milliseconds) {
  const units = [[365.25 * DAY, 'year'], [DAY, 'day'], [DAY / 24, 'hour'], [DAY / 1440, 'minute']];
  const yearsFrom = 3;
  for (const [size, name] of units) {
    const count = Math.floor(milliseconds / size);
    if (count >= (name === 'year' ? yearsFrom : 1)) {
      return `${count.toLocaleString('en')} ${name}${count === 1 ? '' : 's'}`;
    }
  }
  return 'less than a minute';
}

/** How a validity stands now: {state: good, soon, early, over or unknown, words, part}; part is from 0 to 1. */
export function lifeOf(notBefore, notAfter, now = Date.now()) {
  const from = Date.parse(notBefore);
  const until = Date.parse(notAfter);
  if (Number.isNaN(from) || Number.isNaN(until)) {
    return { state: 'unknown', words: 'dates that cannot be read', part: 0 };
  }
  const part = Math.min(1, Math.max(0, (now - from) / Math.max(1, until - from)));
  // The last second of a validity is all of it.
  if (now >= until + 1000) return { state: 'over', words: `expired ${spanText(now - until)} ago`, part: 1 };
  if (now < from) return { state: 'early', words: `starts in ${spanText(from - now)}`, part: 0 };
  const state = until - now < 30 * DAY ? 'soon' : 'good';
  return { state, words: `${spanText(until - now)} left`, part };
}
