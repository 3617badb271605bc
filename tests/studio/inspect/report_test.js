// Runs inside a copy of a report, behind its own program: clicks through it and sends what it found wrong to the page
// around it.
(async () => {
    const failures = window.failures;
    const expect = (what, holds, shown = '') => holds || failures.push(`${what} ${shown}`);
    const find = (selector) => document.querySelector(selector);
    const all = (selector) => [...document.querySelectorAll(selector)];
    const settled = () => new Promise((resolve) => setTimeout(resolve, 30));
    const heading = () => find('.detail h2').textContent;

    async function click(what, element) {
        expect(`nothing to click: ${what}`, element);
        element?.click();
        await settled();
    }
    async function type(name, text) {
        const field = find(`input[name=${name}]`);
        field.value = text;
        field.dispatchEvent(new InputEvent('input', { bubbles: true }));
        await settled();
    }
    const press = async (key, target = document.body) => {
        target.dispatchEvent(new KeyboardEvent('keydown', { key, bubbles: true, cancelable: true }));
        await settled();
    };
    const back = async () => { history.back(); await settled(); };
    const tab = (kind) => click(kind, find(`nav a[href="#${kind}"]`));
    const linkTo = (part, text) => all(`.detail a[href^="#${part}/"]`).find((each) => text === undefined || each.textContent === text);

    async function clickThrough() {
        expect('overview', all('.cards a').length === 4);
        expect('rows are shown in portions', all('.rows a').length < 300, all('.rows a').length);
        await type('text', 'READONLY');
        expect('filter by text', all('.rows a').length === 1, find('.count').textContent);
        await click('first expression', find('.rows a'));
        expect('expression', heading().includes('readOnly') && find('.source .value').textContent === 'false');
        expect('deciding conditions', all('.source .decides').length > 0 && all('.sets li li').length === 2);
        expect('tree', all('.tree tbody tr').length === 4, all('.tree tbody tr').length);
        expect('not needed', find('.tree').textContent.includes('not needed'));
        await click('property', linkTo('properties', 'readOnly'));
        expect('property', heading().startsWith('editor.readOnly'), heading());
        await click('context', linkTo('contexts'));
        expect('context', heading() === 'editor' && all('.detail tbody tr').length === 3, heading());
        await click('referrer', linkTo('properties', 'editor'));
        await back();
        await back();
        await back();
        expect('back at the expression', heading().includes('readOnly'));
        expect('its filter', find('input[name=text]').value === 'READONLY' && all('.rows a').length === 1);
        await type('text', '');
        await type('path', 'commands.n12');
        expect('filter by path', all('.rows a').length === 11, all('.rows a').length);
        await type('path', '');
    }

    async function followCommits() {
        await tab('commits');
        await click('Nested', all('fieldset input').find((each) => each.value === 'Nested'));
        expect('nested commits', all('.rows a').length === 1, all('.rows a').length);
        await click('nested commit', find('.rows a'));
        expect('its cause', find('.facts').textContent.includes('callback of saves && editor.dirty'));
        expect('its change', find('.detail tbody').textContent.includes('editor.dirty'));
        const nested = heading();
        await click('All', find('fieldset input'));
        await click('cause', linkTo('commits'));
        expect('caused', linkTo('commits', nested) && find('.detail').textContent.includes('Calls'));
        await click('evaluated expression', linkTo('expressions', 'saves && editor.dirty'));
        expect('history', linkTo('commits'));
        await click('commit of its history', linkTo('commits'));
        expect('commit', /^#\d+$/.test(heading()), heading());
    }

    async function useKeys() {
        await press('1');
        expect('keys for lists', location.hash === '#expressions', location.hash);
        await press('/');
        expect('key of the filter', document.activeElement.name === 'text');
        await press('ArrowDown', document.activeElement);
        await press('ArrowDown', document.activeElement);
        expect('arrows', document.activeElement === all('.rows a')[1]);
        await press('j');
        await press('j');
        expect('next', location.hash === '#expressions/1', location.hash);
    }

    async function showMore() {
        await tab('contexts');
        await click('large context', all('.rows a').find((each) => each.textContent.startsWith('commands')));
        const before = all('.detail tbody tr').length;
        await click('more rows', find('.detail button'));
        expect('more rows', before === 100 && all('.detail tbody tr').length > before, before);
    }

    async function openEverything() {
        for (const kind of ['expressions', 'properties', 'contexts', 'commits']) {
            await tab(kind);
            const items = JSON.parse(find('#data').textContent)[kind];
            for (let place = 0; place < items.length; place += items.length > 200 && place > 20 ? 40 : 1) {
                location.hash = `${kind}/${kind === 'commits' ? items[place].number : place}`;
                await settled();
                expect(`opened and marked: ${location.hash}`, find('.detail h2') && find('.rows [aria-current]'));
                const texts = ['h1', '.rows', '.detail'].map((each) => find(each).textContent.replaceAll('\n', '')).join();
                expect(`hidden characters: ${location.hash}`, !/[\p{Cc}\p{Cs}\u2028-\u202e]/u.test(texts));
                const widest = Math.max(document.documentElement.scrollWidth, find('.detail').scrollWidth + (innerWidth - find('.detail').clientWidth));
                expect(`wider than the window: ${location.hash}`, widest <= innerWidth, `${widest} > ${innerWidth}`);
            }
        }
    }

    try {
        await clickThrough();
        await followCommits();
        await useKeys();
        await showMore();
        await openEverything();
        expect('markup of a host', window.hacked === undefined && !find('img') && all('script').length === 4, all('script').length);
        expect('requests', performance.getEntriesByType('resource').length === 0);
    } catch (error) {
        failures.push(error.stack);
    }
    parent.postMessage(failures.length ? failures.slice(0, 20).join('\n') : 'passed', '*');
})();
