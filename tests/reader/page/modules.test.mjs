import assert from 'node:assert/strict';
import test from 'node:test';
import { deflateRawSync } from 'node:zlib';

/** The modules of the page that need no browser. */

const load = (name) => import(new URL(`../../../src/reader/page/${name}.js`, import.meta.url));
const { longestStreak, byMonth, ranked } = await load('statistics');
const { inflated, NumberReader } = await load('unpack');
const { fold, occurrences } = await load('fold');
const { FoldedBlock, Hits } = await load('search');
const { routeOf } = await load('router');
const { Chat, firstAtLeast, TextBlock } = await load('archive');
const { colourOf, coloursOf, initials } = await load('colours');
const { LocalClock, noonOf } = await load('dates');

test('the longest streak is the first of the longest', () => {
  assert.equal(longestStreak([]), undefined);
  assert.deepEqual(longestStreak([7]), { first: 7, days: 1 });
  assert.deepEqual(longestStreak([9, 1, 2, 5, 6, 8]), { first: 1, days: 2 });
  assert.deepEqual(longestStreak([-2, -1, 0, 1, 5, 6]), { first: -2, days: 4 });
});

test('months without messages are between those with some', () => {
  const day = (text) => Date.parse(text) / 86_400_000;
  const days = new Map([[day('2023-11-30'), 2], [day('2024-02-01'), 1], [day('2023-11-01'), 3]]);
  const counts = byMonth(days).map(({ year, month, count }) => [year, month, count]);
  assert.deepEqual(counts, [[2023, 10, 5], [2023, 11, 0], [2024, 0, 0], [2024, 1, 1]]);
  assert.deepEqual(byMonth(new Map()), []);
});

test('months before 1970 are counted, too', () => {
  assert.deepEqual(byMonth(new Map([[-1, 1]])), [{ year: 1969, month: 11, count: 1 }]);
});

test('dates that are centuries apart do not make an endless chart', () => {
  assert.equal(byMonth(new Map([[-700_000, 1], [0, 1], [2_900_000, 1]])).length, 3);
});

test('people are ranked by their counts', () => {
  const order = ranked(new Map([[0, 1], [1, 5], [2, 5]])).map((each) => each.person);
  assert.deepEqual(order, [1, 2, 0]);
});

test('numbers of any length are read', () => {
  const numbers = new NumberReader(Uint8Array.from([0, 127, 128, 1, 255, 255, 255, 255, 255, 255, 255, 15]));
  assert.deepEqual([numbers.next(), numbers.next(), numbers.next()], [0, 127, 128]);
  assert.equal(numbers.next(), 2 ** 53 - 1);
  assert.throws(() => numbers.next(), RangeError);
});

test('signed numbers and differences are read', () => {
  const signed = new NumberReader(Uint8Array.from([0, 1, 2, 3]));
  assert.deepEqual(Array.from({ length: 4 }, () => signed.nextSigned()), [0, -1, 1, -2]);
  const column = new NumberReader(Uint8Array.from([20, 3, 0])).differences(new Float64Array(3));
  assert.deepEqual([...column], [10, 8, 8]);
});

test('base64 of deflate is unpacked', async () => {
  const bytes = Buffer.from('ä'.repeat(100_000));
  const unpacked = await inflated(deflateRawSync(bytes).toString('base64'));
  assert.ok(bytes.equals(unpacked));
});

test('texts are cut at their separators', () => {
  const texts = ['a', '', '👩‍👩‍👧', '\ufeffb', 'ä'];
  const block = new TextBlock(Buffer.from(texts.join('\0')));
  assert.deepEqual(texts.map((_, i) => block.text(i)), texts);
});

test('a chat whose title shows nothing is called by its guid', () => {
  const title = (packed) => new Chat({ guid: 'a;-;b', title: packed, blocks: [] }, 0, () => '').title;
  for (const nothing of ['', ' \t\u00a0', '\u200b\u200e', '\u3164\u2060', '\u0007']) assert.equal(title(nothing), 'a;-;b');
  for (const something of [' A ', '👍🏽', '.', '\u200fשלום']) assert.equal(title(something), something);
});

test('folding removes case, accents and curly quotation marks', () => {
  assert.equal(fold('Törtchen CAFÉ “It’s” ΟΔΟΣ İ'), 'tortchen cafe "it\'s" οδοσ i');
  assert.notEqual(fold('が'), fold('か'));
  assert.notEqual(fold('कि'), fold('क'));
});

test('occurrences are places in the text as it was', () => {
  const places = (text, wanted) => occurrences(text, wanted).map(([from, to]) => text.slice(from, to));
  assert.deepEqual(places('Café, cafe\u0301 and CAFE', 'cafe'), ['Café', 'cafe\u0301', 'CAFE']);
  assert.deepEqual(places('👍👍🏽 fin', 'fin'), ['fin']);
  assert.deepEqual(places('aaaa', 'aa'), ['aa', 'aa']);
});

test('a block is searched as one text, but no hit spans two texts', () => {
  const texts = ['one two', 'two three', '', 'TWO two', 'o'];
  const block = new FoldedBlock({ joined: texts.join('\0') }, texts.length);
  const found = (wanted) => {
    const indexes = [];
    block.search(wanted, 100, indexes);
    return indexes;
  };
  assert.deepEqual(found('two'), [100, 101, 103]);
  assert.deepEqual(found('two two'), [103]);
  assert.deepEqual(found('two three'), [101]);
  assert.deepEqual(found('o'), [100, 101, 103, 104]);
  assert.deepEqual(found('none'), []);
});

test('hits are in the order of the chats, the newest of each first', () => {
  const hits = new Hits();
  hits.add('a', [1, 5]);
  hits.add('b', []);
  hits.add('c', [7]);
  const order = [0, 1, 2].map((index) => Object.values(hits.at(index)));
  assert.deepEqual(order, [['a', 5], ['a', 1], ['c', 7]]);
  assert.equal(hits.at(3), undefined);
  assert.equal(hits.at(-1), undefined);
});

test('a fragment names a view, a chat and a message', () => {
  assert.deepEqual(routeOf(''), { view: 'chats' });
  assert.deepEqual(routeOf('#/overview'), { view: 'overview' });
  assert.deepEqual(routeOf('#/a%2Fb/overview'), { view: 'overview', guid: 'a/b' });
  assert.deepEqual(routeOf('#/a/12'), { view: 'chat', guid: 'a', row: 12, time: undefined });
  assert.deepEqual(routeOf('#/a/12@-5'), { view: 'chat', guid: 'a', row: 12, time: -5 });
  assert.deepEqual(routeOf('#/%'), { view: 'chats' });
});

test('a place in ascending numbers is found', () => {
  assert.deepEqual([0, 1, 2, 3, 9].map((least) => firstAtLeast([1, 2, 2, 5], least)), [0, 0, 1, 3, 4]);
  assert.equal(firstAtLeast([], 1), 0);
});

test('a name always has the same colour', () => {
  assert.equal(colourOf('Ann Lee'), colourOf('Ann Lee'));
});

test('people of one chat have different colours, as long as there are enough', () => {
  const names = Array.from({ length: 11 }, (_, i) => `Person ${i}`);
  const colours = [...coloursOf(names).values()];
  assert.equal(new Set(colours.slice(0, 10)).size, 10);
  assert.equal(colours[10], colourOf('Person 10'));
});

test('initials are of the first and the last word', () => {
  assert.deepEqual(['Ann Lee', 'zoë', '+1 202', '', 'Jean van der Berg', '🎬 Film'].map(initials), ['AL', 'Z', '#', '#', 'JB', 'F']);
});

test('initials are of words that begin with a letter, and not of the host of an e-mail address', () => {
  const names = ['Noor.Bennett@Example.com', 'Ski Trip 12/24', 'Ann Lee, Priya Moreau +1', '12/24'];
  assert.deepEqual(names.map(initials), ['NB', 'ST', 'AL', '#']);
});

test('local days begin at midnight, also when clocks change', () => {
  const clock = new LocalClock();
  for (const text of ['2024-03-31T00:00', '2024-03-31T03:30', '2024-10-27T23:59', '1969-12-31T12:00']) {
    const time = new Date(text).getTime();
    assert.equal(new Date(noonOf(clock.day(time))).toDateString(), new Date(text).toDateString());
  }
});
