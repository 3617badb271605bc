'use strict';

// The data of the report. Contexts, properties and expressions refer to each other by their places in the lists.
const data = JSON.parse(document.getElementById('data').textContent);

// ---- Texts. Everything from the host is set as text, never as markup.

/** A text with what cannot be seen, or changes how the rest is seen, as escapes. */
function visible(text) {
    return text.replace(/(?!\u200d)[\p{Cc}\p{Cf}\p{Cs}\p{Zl}\p{Zp}]/gu,
        (found) => found === '\n' ? '\\n' : found === '\t' ? '\\t' : `\\u{${found.codePointAt(0).toString(16)}}`);
}

function kindOf(value) {
    if (value === null)
        return 'undefined';
    return typeof value === 'object' ? ('id' in value ? 'reference' : 'number')
        : typeof value === 'boolean' ? String(value) : typeof value;
}

/** A value as the language writes it. */
function literal(value) {
    switch (kindOf(value)) {
    case 'undefined': return 'undefined';
    case 'reference': return contextNames.get(value.id) ?? value.id;
    // Bytes that are not UTF-8 are escapes already.
    case 'string': return visible(`'${value.replace(/'|\\(?!x[89a-f][0-9a-f])/g, '\\$&')}'`);
    default: return typeof value === 'object' ? value.number : Object.is(value, -0) ? '-0' : String(value);
    }
}

/** The truth of a value: undefined, 0, false and the empty text are false. */
const holds = (value) => Boolean(value);
const counted = (count, noun) => `${count.toLocaleString('en')} ${noun}${count === 1 ? '' : 's'}`;
const shortened = (text, most) => text.length > most ? `${text.slice(0, most)}\u2026` : text;

/** Nanoseconds for people. */
function time(nanoseconds) {
    const units = [[1e9, 's'], [1e6, 'ms'], [1e3, '\u00b5s'], [1, 'ns']];
    const [size, unit] = units.find(([size]) => nanoseconds >= size) ?? [1, 'ns'];
    return `${(nanoseconds / size).toLocaleString('en', { maximumSignificantDigits: 3 })}\u00a0${unit}`;
}

// ---- Elements.

/** Makes an element: `tag.class.class`, its attributes, and its content, of which null is left out. */
function make(tag, attributes, ...content) {
    const [name, ...classes] = tag.split('.');
    const element = document.createElement(name);
    for (const [attribute, value] of Object.entries(attributes ?? {}))
        element.setAttribute(attribute, value);
    element.classList.add(...classes);
    element.append(...content.flat().filter((each) => each !== null && each !== undefined));
    return element;
}

/** A value as a chip, that of a context as a link to it. */
function chip(value, absent = 'none') {
    if (value === undefined)
        return make('span.value.absent', {}, absent);
    const place = value !== null && typeof value === 'object' ? contextPlaces.get(value.id) : undefined;
    if (place !== undefined)
        return make('a.value', { href: `#contexts/${place}` }, `\u2192 ${literal(value)}`);
    const text = literal(value);
    return make(`span.value.${kindOf(value)}${text.length > 300 ? '.long' : ''}`, {}, text);
}

const link = (kind, place, text) => make('a.code', { href: `#${kind}/${place}` }, text);

function expressionLink(reference) {
    return typeof reference === 'number'
        ? link('expressions', reference, shortened(visible(data.expressions[reference].text), 300))
        : make('span', {}, make('code', {}, visible(reference)), make('span.note', {}, 'no longer acquired'));
}

/** Appends items to a container in portions, with a button for the next one. */
function appendPortions(container, items, makeItem, portion = 100) {
    let shown = 0;
    const button = make('button', { type: 'button' });
    const showMore = () => {
        const next = items.slice(shown, shown += portion).map(makeItem);
        container.append(...next);
        button.textContent = `Show ${Math.min(portion, items.length - shown)} more of ${items.length}`;
        button.hidden = shown >= items.length;
        return next;
    };
    button.addEventListener('click', () => showMore()[0]?.querySelector('a')?.focus());
    showMore();
    return button;
}

/** A table with a row for each item. A title that begins with `#` is that of a column of numbers. */
function table(columns, items, makeRow, className = 'plain') {
    const body = make('tbody');
    const button = appendPortions(body, items, makeRow);
    const heads = columns.map((each) => make(each[0] === '#' ? 'th.number' : 'th', { scope: 'col' }, each.replace('#', '')));
    return make('div.table', {},
        make(`table.${className}`, {}, make('thead', {}, make('tr', {}, heads)), body), button);
}

const row = (...cells) => make('tr', {}, cells.map((each) => each.tagName === 'TD' ? each : make('td', {}, each)));
const count = (number) => make('td.number', {}, number.toLocaleString('en'));
const heading = (text, count) => make('h3', {}, text, count === undefined ? null : make('small', {}, String(count)));

/** A heading and a table; nothing if there are no items. */
function section(title, columns, items, makeRow, className) {
    return items.length ? [heading(title, items.length), table(columns, items, makeRow, className)] : [];
}

// ---- What follows from the data.

const contextPlaces = new Map(data.contexts.map((each, place) => [each.id, place]));
const contextNames = new Map();
for (const context of data.contexts) {
    context.name = context.path === '' ? 'root'
        : context.path !== undefined ? visible(context.path)
        : /^[0-]+$/.test(context.id) ? 'no context' : `${context.id.slice(0, 8)}\u2026`;
    context.state = context.path !== undefined ? '' : context.exists ? 'not reached by the root, or by a very long path' : 'no longer exists';
    context.properties = [];
    context.referrers = [];
    contextNames.set(context.id, context.name);
}
data.properties.forEach((property, place) => {
    const context = data.contexts[property.context];
    property.path = context.path ? `${context.path}.${property.name}` : property.name;
    property.title = visible(context.path === undefined ? `${context.name} . ${property.name}` : property.path);
    property.changes = [];
    if (property.value !== undefined)
        context.properties.push(place);
    if (property.value && typeof property.value === 'object' && contextPlaces.has(property.value.id))
        data.contexts[contextPlaces.get(property.value.id)].referrers.push(place);
});
const commitPlaces = new Map(data.commits.map((each, place) => [each.number, place]));
data.expressions.forEach((each) => { each.evaluations = []; });
data.commits.forEach((commit) => { commit.caused = []; });
for (const commit of data.commits) {
    data.commits[commitPlaces.get(commit.cause)]?.caused.push(commit.number);
    for (const change of commit.changes)
        data.properties[change.property].changes.push({ commit, change });
    for (const evaluation of commit.evaluations) {
        if (typeof evaluation.expression === 'number')
            data.expressions[evaluation.expression].evaluations.push({ commit, evaluation });
    }
}
const same = (left, right) => JSON.stringify(left) === JSON.stringify(right);
const textOf = (reference) => typeof reference === 'number' ? data.expressions[reference].text : reference;

/** Nodes of the tree that stand for themselves, in the order of the text. */
const isLeaf = (node) => node.parts.length === 0;

/** The places of the nodes that belong to a set of conditions which decides. */
function decidingNodes(expression) {
    const conditions = new Set(expression.deciding.flat());
    return new Set([...conditions].flatMap((each) => expression.conditions[each].nodes));
}

/** The text of an expression with its symbols coloured by truth, its deciding conditions marked, the rest of no effect
    in grey. */
function annotated(expression) {
    const { text, nodes } = expression;
    const classes = Array(text.length).fill('');
    const paint = (node, name) => {
        for (let at = node.from; at < node.to; ++at)
            classes[at] += ` ${name}`;
    };
    for (const node of nodes) {
        if (isLeaf(node) && node.value !== undefined)
            paint(node, node.kind === 'constant' ? 'constant' : holds(node.value) ? 'truthy' : 'falsy');
    }
    const skipped = nodes.map((node) => node.value === undefined && node.kind !== 'pattern');
    const within = new Set(nodes.flatMap((node, place) => skipped[place] ? node.parts : []));
    nodes.forEach((node, place) => {
        if (skipped[place] && !within.has(place))
            paint(node, 'skipped');
    });
    for (const place of decidingNodes(expression))
        paint(nodes[place], 'decides');
    const result = make('pre');
    for (let from = 0, to; from < text.length; from = to) {
        for (to = from + 1; to < text.length && classes[to] === classes[from];)
            ++to;
        result.append(make('span', { class: classes[from].trim() }, visible(text.slice(from, to)).replaceAll('\\n', '\n')));
    }
    return result;
}

const chains = { '&&': 'all of', '||': 'any of' };

/** The rows of the tree from top to bottom. A chain of one operator is one row with all its operands. */
function treeRows(expression) {
    const { nodes } = expression;
    const rows = [];
    const waiting = [[nodes.length - 1, 0]];
    while (waiting.length) {
        const [place, depth] = waiting.pop();
        const node = nodes[place];
        const operands = [...node.parts].reverse();
        while (node.name in chains && node.kind === 'operator' && nodes[operands.at(-1)].name === node.name
                && nodes[operands.at(-1)].kind === 'operator')
            operands.push(...[...nodes[operands.pop()].parts].reverse());
        rows.push({ place, node, depth, operands: operands.length });
        waiting.push(...operands.map((each) => [each, depth + 1]));
    }
    return rows;
}

// ---- The kinds of things: what their list shows, what a filter looks at, and their details.

const kinds = {
    expressions: {
        title: 'Expressions', items: data.expressions, states: {
            All: () => true, True: (each) => holds(each.value), False: (each) => !holds(each.value),
            Unbound: (each) => each.symbols.some((symbol) => !symbol.isBound),
        },
        texts: (each) => [each.text, literal(each.value)],
        paths: (each) => each.symbols.map((symbol) => symbol.path),
        row: (each) => [
            make('code.main', {}, shortened(visible(each.text), 200)), rowChip(each.value),
            each.evaluations.length
                ? make('span.note', {}, `evaluated ${counted(each.evaluations.length, 'time')}, last in #${each.evaluations.at(-1).commit.number}`)
                : null],
        detail: expressionDetail,
    },
    properties: {
        title: 'Properties', items: data.properties, states: {
            All: () => true, Read: (each) => each.readers.length, Missing: (each) => each.value === undefined,
            Changed: (each) => each.changes.length,
        },
        texts: (each) => [each.name, each.value === undefined ? 'missing' : literal(each.value)],
        paths: (each) => [each.path],
        row: (each) => [
            make('code.main', {}, each.title), each.value === undefined ? make('span.value.absent', {}, 'missing') : rowChip(each.value),
            make('span.note', {}, [each.readers.length ? `read by ${counted(each.readers.length, 'expression')}` : 'not read',
                ...(each.changes.length ? [counted(each.changes.length, 'change')] : [])].join(' \u00b7 '))],
        detail: propertyDetail,
    },
    contexts: {
        title: 'Contexts', items: data.contexts, states: {},
        texts: (each) => [each.id, each.name, ...each.properties.map((place) => data.properties[place].name)],
        paths: (each) => [each.path ?? ''],
        row: (each) => [
            make('code.main', {}, each.name), make('span.value', {}, String(each.properties.length)),
            each.state ? make('span.note', {}, each.state) : null],
        detail: contextDetail,
    },
    commits: {
        title: 'Commits', items: data.commits, states: {
            All: () => true, Evaluated: (each) => each.evaluations.length, Nested: (each) => each.cause,
        },
        texts: (each) => [`#${each.number}`, ...each.evaluations.map(({ expression }) => textOf(expression))],
        paths: (each) => each.changes.map(({ property }) => data.properties[property].path),
        row: commitRow,
        detail: commitDetail,
    },
};

/** A chip for rows that are links themselves. */
function rowChip(value) {
    return make(`span.value.${kindOf(value)}`, {}, shortened(literal(value), 60));
}

function commitRow(commit) {
    const [first] = commit.changes;
    return [
        make('span.main', {}, make('strong', {}, `#${commit.number} `), make('code', {}, first
            ? `${data.properties[first.property].title}${first.after === undefined ? ' removed' : ` = ${shortened(literal(first.after), 60)}`}`
            : 'no properties')),
        make('span.when', {}, `+${time(commit.began)}`),
        make('span.note', {}, [counted(commit.changes.length, 'change'), counted(commit.evaluations.length, 'evaluation'),
            ...(commit.cause ? [`caused by #${commit.cause}`] : [])].join(' \u00b7 '))];
}

function expressionDetail(expression) {
    const symbols = new Map(expression.symbols.map((each) => [each.path, each]));
    const deciding = decidingNodes(expression);
    const history = [...expression.evaluations].reverse();
    return [
        make('p.eyebrow', {}, 'Expression', make('span', {}, counted(expression.handles, 'handle'))),
        make('h2.unseen', {}, shortened(visible(expression.text), 100)),
        make('div.card.source', {}, annotated(expression), chip(expression.value)),
        make('p.hint', {}, 'Symbols are green where they count as true, red where they do not; parts that were not needed are grey.'),
        'current' in expression
            ? make('p.warning', {}, 'The last evaluation gave this value. Now the text would give ', chip(expression.current), '.')
            : null,
        ...decisions(expression),
        ...section('Symbols', ['Path', 'Value'], expression.symbols, symbolRow),
        ...section('Tree', ['Node', 'Value'], treeRows(expression), ({ place, node, depth, operands }) => {
            const isSkipped = node.value === undefined && node.kind !== 'pattern';
            const text = visible(shortened(expression.text.slice(node.from, node.to), 160));
            const end = symbols.get(node.name)?.steps.at(-1);
            const label = node.kind === 'operator' || node.kind === 'call'
                ? [make('span.operator', {}, visible(node.name)), make('code.excerpt', {},
                    operands > 2 && node.name in chains ? `${chains[node.name]} ${operands}` : text)]
                : [node.kind === 'symbol' && end !== undefined ? link('properties', end, text) : make('code.leaf', {}, text)];
            const decides = deciding.has(place);
            const result = row(make('div.node', { class: `${isSkipped ? 'skipped' : ''} ${decides ? 'decides' : ''}` }, label,
                decides ? make('span.mark', {}, 'decides') : null),
                isSkipped ? make('span.value.absent', {}, 'not needed') : node.kind === 'pattern' ? '' : chip(node.value));
            result.style.setProperty('--depth', depth);
            return result;
        }, 'tree'),
        ...section('History', ['Commit', 'Before', 'After'], history, ({ commit, evaluation }) => {
            const result = row(make('td', {}, link('commits', commit.number, `#${commit.number}`), ' ', make('span.when', {}, `+${time(evaluation.at)}`)),
                chip(evaluation.before), chip(evaluation.after));
            result.classList.toggle('dim', same(evaluation.before, evaluation.after));
            return result;
        }),
    ];
}

/** The sets of conditions that decide. */
function decisions(expression) {
    const { conditions, deciding, nodes, text } = expression;
    if (!deciding.length)
        return [];
    const list = make('ul.sets');
    const button = appendPortions(list, deciding, (set) => make('li.card', {}, make('ul', {}, set.map((place) => {
        const condition = conditions[place];
        const node = nodes[condition.nodes[0]];
        return make('li', {}, make('code', {}, visible(text.slice(node.from, node.to))),
            make(`span.truth.${condition.holds}`, {}, condition.holds ? '\u2713 holds' : '\u2717 does not hold'));
    }))), 12);
    const hint = deciding.length === 1
        ? `The value changes if ${deciding[0].length === 1 ? 'this condition is' : 'these conditions together are'} flipped.`
        : 'The value changes if all conditions of one box are flipped.';
    return [heading('What decides'), make('p.hint', {}, hint, expression.isComplete ? '' : ' There may be further boxes.'), list, button];
}

const ends = {
    found: () => null,
    missing: (name, context) => `${context} has no property \u201c${name}\u201d`,
    'plain value': (name) => `\u201c${name}\u201d is not a context`,
    dangling: (name) => `\u201c${name}\u201d refers to a context that does not exist`,
    hidden: (name, context) => `not followed: ${context} has a property whose own name is \u201c${name}\u201d`,
    'no context': () => 'there is no root context',
};

function symbolRow(symbol) {
    const crumbs = symbol.steps.flatMap((place) => {
        const property = data.properties[place];
        const name = link('properties', place, visible(property.name) || '\u201c\u201d');
        name.classList.toggle('gone', property.value === undefined);
        return [make('span.sep', {}, '\u203a'), name];
    });
    const last = data.properties[symbol.steps.at(-1)];
    const note = ends[symbol.end](last && visible(last.name), last && data.contexts[last.context].name);
    const start = last ? link('contexts', data.properties[symbol.steps[0]].context, 'root') : visible(symbol.path);
    return row(make('td', {}, make('span.crumbs', {}, start, crumbs), note ? make('span.note', {}, note) : null,
        symbol.isBound ? null : make('span.note.alert', {}, 'not bound: a change of it does not evaluate the expression')),
        chip(symbol.value));
}

function propertyDetail(property) {
    const context = data.contexts[property.context];
    return [
        make('p.eyebrow', {}, 'Property', property.value === undefined ? make('span', {}, context.exists ? 'missing' : 'its context no longer exists') : null),
        make('h2', {}, make('code', {}, property.title), property.value === undefined ? null : chip(property.value)),
        make('dl.facts', {}, make('dt', {}, 'Context'), make('dd', {}, link('contexts', property.context, context.name)),
            make('dt', {}, 'Name'), make('dd', {}, make('code', {}, visible(property.name)))),
        ...section('Read by', ['Expression', 'Value'], property.readers, (place) =>
            row(expressionLink(place), chip(data.expressions[place].value))),
        ...section('Changes', ['Commit', 'Before', 'After'], [...property.changes].reverse(), ({ commit, change }) =>
            row(make('td', {}, link('commits', commit.number, `#${commit.number}`), ' ', make('span.when', {}, `+${time(commit.began)}`), changeNote(change)),
                chip(change.before, 'new'), chip(change.after, 'removed'))),
    ];
}

/** What a change did beside the value. */
function changeNote(change) {
    const notes = [
        ...('contextBefore' in change ? [`moved from ${data.contexts[change.contextBefore].name}`] : []),
        ...('nameBefore' in change ? [`renamed from \u201c${visible(change.nameBefore)}\u201d`] : [])];
    return notes.length ? make('span.note', {}, notes.join(' \u00b7 ')) : null;
}

function contextDetail(context) {
    return [
        make('p.eyebrow', {}, 'Context', context.state ? make('span', {}, context.state) : null),
        make('h2', {}, make('code', {}, context.name)),
        make('dl.facts', {}, make('dt', {}, 'Id'), make('dd', {}, make('code', {}, context.id)),
            ...(context.referrers.length ? [make('dt', {}, 'Referred to by'), make('dd', {}, make('span.crumbs', {},
                context.referrers.slice(0, 20).flatMap((place, index) => [index ? make('span.sep', {}, '\u00b7') : null, link('properties', place, data.properties[place].title)])))] : [])),
        ...section('Properties', ['Name', 'Value', '#Readers'], context.properties, (place) => {
            const property = data.properties[place];
            return row(link('properties', place, visible(property.name) || '\u201c\u201d'), chip(property.value),
                count(property.readers.length));
        }),
    ];
}

function commitDetail(commit) {
    const chain = [commit];
    for (let cause; (cause = data.commits[commitPlaces.get(chain.at(-1).cause)]);)
        chain.push(cause);
    const arrow = () => make('span.sep', {}, '\u2192');
    const isDropped = chain.at(-1).cause !== 0;
    // Those that changed a value first, each group in order.
    const evaluations = [...commit.evaluations].sort((left, right) => same(left.before, left.after) - same(right.before, right.after));
    const contextList = (title, places) => places.length
        ? [make('dt', {}, title), make('dd', {}, make('span.crumbs', {}, places.map((place) => link('contexts', place, data.contexts[place].name))))]
        : [];
    return [
        make('p.eyebrow', {}, 'Commit', make('span', {}, `+${time(commit.began)}`)),
        make('h2', {}, `#${commit.number}`),
        make('dl.facts', {}, make('dt', {}, 'Took'), make('dd', {}, time(commit.ended - commit.began)),
            ...(commit.cause ? [make('dt', {}, 'Causes'), make('dd', {}, make('span.crumbs', {},
                isDropped ? `#${chain.at(-1).cause} (no longer kept)` : null,
                [...chain].reverse().map((each, index) => [
                    index || isDropped ? [arrow(), ...(each.callback === undefined ? [] : [make('span', {}, 'callback of ', expressionLink(each.callback)), arrow()])] : null,
                    each === commit ? `#${each.number}` : link('commits', each.number, `#${each.number}`)]).flat(2)))] : []),
            ...(commit.caused.length ? [make('dt', {}, 'Caused'), make('dd', {}, make('span.crumbs', {},
                commit.caused.map((number) => link('commits', number, `#${number}`))))] : []),
            ...contextList('Created', commit.created), ...contextList('Destroyed', commit.destroyed)),
        ...section('Changes', ['Property', 'Before', 'After'], commit.changes, (change) =>
            row(make('td', {}, link('properties', change.property, data.properties[change.property].title), changeNote(change)),
                chip(change.before, 'new'), chip(change.after, 'removed'))),
        ...section('Evaluations', ['Expression', 'Before', 'After'], evaluations, (each) => {
            const result = row(make('td', {}, expressionLink(each.expression), make('span.note', {}, `after ${time(each.at - commit.began)}`)),
                chip(each.before), chip(each.after));
            result.classList.toggle('dim', same(each.before, each.after));
            return result;
        }),
        ...section('Calls', ['Handle of'], commit.calls, (each) => row(expressionLink(each))),
    ];
}

/** What is shown while nothing is selected. */
function overview() {
    const missing = data.properties.map((each, place) => [each, place])
        .filter(([each]) => each.value === undefined && each.readers.length)
        .sort(([left], [right]) => right.readers.length - left.readers.length);
    const busy = data.expressions.map((each, place) => [each, place]).filter(([each]) => each.evaluations.length)
        .sort(([left], [right]) => right.evaluations.length - left.evaluations.length).slice(0, 10);
    const card = (kind, count, text) => make('a.card', { href: `#${kind}` }, make('strong', {}, count.toLocaleString('en')), make('span', {}, text));
    const isTrue = data.expressions.filter((each) => holds(each.value)).length;
    return [
        make('p.eyebrow', {}, 'Overview'),
        make('h2', {}, visible(data.title)),
        make('div.cards', {},
            card('expressions', data.expressions.length, `expressions, ${isTrue.toLocaleString('en')} of them true`),
            card('properties', data.properties.filter((each) => each.value !== undefined).length, 'properties'),
            card('contexts', data.contexts.length, 'contexts'),
            card('commits', data.commits.length, data.dropped ? `commits; ${data.dropped} older ones were dropped` : 'commits')),
        ...section('Missing properties', ['Path', '#Readers'], missing, ([each, place]) =>
            row(link('properties', place, each.title), count(each.readers.length))),
        ...section('Evaluated most often', ['Expression', '#Times'], busy, ([each, place]) =>
            row(expressionLink(place), count(each.evaluations.length))),
        make('p.keys', {}, make('kbd', {}, '/'), ' filter \u2003 ', make('kbd', {}, 'j'), ' ', make('kbd', {}, 'k'),
            ' next and previous \u2003 ', make('kbd', {}, '1'), '\u2013', make('kbd', {}, '4'), ' lists'),
    ];
}

// ---- The page: bar, list, filters and details follow the address.

const parts = Object.fromEntries(['h1', 'nav', 'form', 'fieldset', '.count', '.strip', '.rows', '.list', '.detail']
    .map((selector) => [selector.replace('.', ''), document.querySelector(selector)]));
const filters = Object.fromEntries(Object.keys(kinds).map((kind) => [kind, { text: '', path: '', state: 'All' }]));
let shown = { kind: undefined, place: undefined, places: [] };

/** Commits are named by their numbers, everything else by its place. */
const nameOf = (kind, place) => kind === 'commits' ? data.commits[place].number : place;

function route() {
    const [kind, name] = location.hash.slice(1).split('/');
    if (!Object.hasOwn(kinds, kind))
        return { kind: 'expressions' };
    const place = name === undefined ? undefined : kind === 'commits' ? commitPlaces.get(Number(name)) : Number(name);
    return { kind, place: kinds[kind].items[place] && place };
}

/** Everything that a filter looks at, in lower case; made when the first filter is used. */
function haystacks(kind) {
    return kinds[kind].haystacks ??= kinds[kind].items.map((each) => ({
        text: kinds[kind].texts(each).join('\n').toLowerCase(), path: kinds[kind].paths(each).join('\n').toLowerCase(),
    }));
}

/** The places of the items in which all words of the filter occur. */
function filtered(kind) {
    const { text, path, state } = filters[kind];
    const words = { text: text.toLowerCase().split(/\s+/), path: path.toLowerCase().split(/\s+/) };
    const isInState = kinds[kind].states[state] ?? (() => true);
    const isSearched = text || path;
    return kinds[kind].items.map((_, place) => place).filter((place) => isInState(kinds[kind].items[place])
        && (!isSearched || (words.text.every((word) => haystacks(kind)[place].text.includes(word))
            && words.path.every((word) => haystacks(kind)[place].path.includes(word)))));
}

let observer;

/** Shows the list in portions: the next one when the end comes near. */
function showList() {
    const { kind } = shown;
    const places = shown.places = filtered(kind);
    const { title, items } = kinds[kind];
    parts.count.textContent = places.length === items.length ? `${items.length.toLocaleString('en')} ${title.toLowerCase()}`
        : `${places.length.toLocaleString('en')} of ${items.length.toLocaleString('en')} ${title.toLowerCase()}`;
    parts.rows.replaceChildren();
    showStrip();
    const end = make('li', { 'aria-hidden': 'true' });
    parts.rows.append(end);
    let count = 0;
    shown.showMore = () => {
        const next = places.slice(count, count += 60);
        end.before(...next.map((place) => make('li', {}, make('a', { href: `#${kind}/${nameOf(kind, place)}` }, kinds[kind].row(items[place])))));
        return next.length > 0;
    };
    shown.showMore();
    observer?.disconnect();
    observer = new IntersectionObserver(([entry]) => {
        while (entry.isIntersecting && shown.showMore() && end.getBoundingClientRect().top < innerHeight + 400);
    }, { root: parts.list, rootMargin: '400px' });
    observer.observe(end);
    markSelected(false);
}

/** Commits as bars: the height is the number of evaluations. */
function showStrip() {
    const { kind, places } = shown;
    parts.strip.replaceChildren();
    if (kind !== 'commits' || places.length < 2)
        return;
    const size = Math.ceil(places.length / 120);
    const groups = [];
    for (let from = 0; from < places.length; from += size)
        groups.push(places.slice(from, from + size).map((place) => data.commits[place]));
    const heights = groups.map((group) => Math.max(...group.map((each) => each.evaluations.length)));
    const most = Math.max(...heights, 1);
    parts.strip.append(...groups.map((group, index) => {
        const busiest = group.find((each) => each.evaluations.length === heights[index]);
        const bar = make('a', { href: `#commits/${busiest.number}`, tabindex: -1, title: `#${busiest.number}: ${counted(heights[index], 'evaluation')}` });
        bar.style.setProperty('--height', `${Math.ceil(100 * heights[index] / most)}%`);
        return bar;
    }));
}

function markSelected(isScrolled) {
    parts.rows.querySelector('[aria-current]')?.removeAttribute('aria-current');
    const index = shown.places.indexOf(shown.place);
    if (index < 0)
        return;
    while (parts.rows.children.length - 1 <= index && shown.showMore());
    const selected = parts.rows.children[index].firstChild;
    selected.setAttribute('aria-current', 'true');
    if (isScrolled)
        selected.scrollIntoView({ block: 'nearest' });
}

function showStates() {
    const { kind } = shown;
    parts.fieldset.replaceChildren(...Object.keys(kinds[kind].states).map((state) => {
        const input = make('input', { type: 'radio', name: 'state', value: state });
        input.checked = filters[kind].state === state;
        return make('label', {}, input, make('span', {}, state));
    }));
    parts.form.elements.text.value = filters[kind].text;
    parts.form.elements.path.value = filters[kind].path;
}

/** Shows what the address names. */
function show() {
    const next = route();
    const isOtherKind = next.kind !== shown.kind;
    shown = { ...shown, ...next, place: next.place };
    document.body.classList.toggle('opened', next.place !== undefined);
    for (const tab of parts.nav.children) {
        if (tab.hash === `#${next.kind}`)
            tab.setAttribute('aria-current', 'page');
        else
            tab.removeAttribute('aria-current');
    }
    if (isOtherKind) {
        showStates();
        showList();
        parts.list.scrollTop = 0;
    }
    markSelected(true);
    const { title, items, detail } = kinds[next.kind];
    const content = next.place === undefined ? overview() : detail(items[next.place]);
    parts.detail.replaceChildren(make('a.back', { href: `#${next.kind}` }, `\u2039 ${title}`),
        ...content.flat().filter((each) => each !== null && each !== undefined));
    parts.detail.scrollTop = 0;
}

parts.h1.textContent = visible(data.title);
parts.nav.append(...Object.entries(kinds).map(([kind, { title, items }]) =>
    make('a', { href: `#${kind}` }, title, make('small', {}, items.length.toLocaleString('en')))));
parts.form.addEventListener('submit', (event) => event.preventDefault());
parts.form.addEventListener('input', () => {
    const { text, path } = parts.form.elements;
    const state = parts.form.querySelector('[name=state]:checked')?.value ?? 'All';
    filters[shown.kind] = { text: text.value, path: path.value, state };
    showList();
});
document.querySelector('.skip').addEventListener('click', (event) => {
    event.preventDefault();
    parts.detail.focus();
});
addEventListener('hashchange', () => {
    show();
    if (shown.place !== undefined && !parts.list.contains(document.activeElement))
        parts.detail.focus({ preventScroll: true });
});

addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey)
        return;
    const isTyping = event.target.matches?.('input[type=search]');
    const links = [...parts.rows.querySelectorAll('a')];
    const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
    if (step && (isTyping || parts.rows.contains(event.target))) {
        const index = links.indexOf(event.target) + step;
        (links[index] ?? (index < 0 ? parts.form.elements.text : null))?.focus();
        event.preventDefault();
    }
    else if (isTyping) {
        if (event.key === 'Escape')
            event.target.blur();
    }
    else if (event.key === '/') {
        if (document.body.classList.contains('opened') && !parts.list.offsetParent)
            location.hash = shown.kind;
        parts.form.elements.text.focus();
        parts.form.elements.text.select();
        event.preventDefault();
    }
    else if (event.key === 'j' || event.key === 'k') {
        const index = shown.places.indexOf(shown.place) + (event.key === 'j' ? 1 : -1);
        const place = shown.places[Math.max(index, 0)];
        if (place !== undefined)
            location.hash = `${shown.kind}/${nameOf(shown.kind, place)}`;
    }
    else if (/^[1-4]$/.test(event.key))
        location.hash = Object.keys(kinds)[event.key - 1];
});

show();
