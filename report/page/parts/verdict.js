// What was found: the verdict, and the figures behind each of its sentences.

// A figure stays on the line of its unit.
function unbroken(sentence) {
  return sentence.replace(/(\d) (?=(%|[A-Za-z]{1,3})(?![A-Za-z]))/g, '$1\u00a0');
}

class Verdict {
  // What is found again in the findings has its figures there. Without a verdict, the first findings
  // are it.
  constructor(place, {verdict, findings}, view, clock) {
    Object.assign(this, {view, clock});
    const first = verdict.length ? verdict : findings.slice(0, 3).map(({sentence}) => sentence);
    const others = findings.filter(({sentence}) => !first.includes(sentence));
    place.append(...first.flatMap((sentence) => this.sentence('sentence', findings.find((one) => one.sentence === sentence) ?? {sentence, figures: []})),
                 ...others.flatMap((finding) => this.sentence('sentence lesser', finding)));
    place.hidden = !place.children.length;
  }

  sentence(className, {sentence, figures, from, to}) {
    const words = element('p', className, unbroken(sentence));
    const zooms = this.view && to > from;
    if (!figures.length && !zooms) return [words];
    const list = element('ul', 'figures', ...figures.map((figure) => element('li', '', unbroken(figure))));
    list.hidden = true;
    const button = element('button', '', 'Why?');
    button.type = 'button';
    button.setAttribute('aria-expanded', 'false');
    button.setAttribute('aria-label', `Why? ${sentence}`);
    button.addEventListener('click', () => {
      const opens = button.getAttribute('aria-expanded') === 'false';
      button.setAttribute('aria-expanded', String(opens));
      list.hidden = !opens || !figures.length;
      if (!zooms) return;
      const begin = this.clock.axis(from);
      if (opens) this.view.show(begin, this.clock.axis(to, begin));
      else this.view.show(this.view.begin, this.view.end);
    });
    words.append(' ', button);
    return [words, list];
  }
}
