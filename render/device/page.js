// The chart page's script (the HTML device embeds it): draws the points the
// page carries as data, and answers the reader: tooltips, legend toggling,
// zoom and pan of continuous axes, keyboard access. Our own plain script;
// it fetches nothing and builds every text node from data as text, never as
// markup.
(function () {
  'use strict';
  // The tick rules, for tools that check them against the pictures'.
  window.chartxmlTicks = { nice: niceTicks, date: dateTicks, log: logTicks };
  var NS = 'http://www.w3.org/2000/svg';
  var mark = window.performance && performance.mark ? performance.mark.bind(performance) : function () {};
  mark('chart-start');
  var data = JSON.parse(document.getElementById('chart-data').textContent);
  var plot = document.querySelector('.plot');
  var svg = plot.querySelector('svg');
  var tip = document.getElementById('chart-tip');
  var hidden = {};

  // ---- Decoding the embedded arrays -------------------------------------

  function bytesOf(text) {
    var s = atob(text), n = s.length, out = new Uint8Array(n);
    for (var i = 0; i < n; i++) out[i] = s.charCodeAt(i);
    return out.buffer;
  }

  function arrayOf(v) {
    var buffer = bytesOf(document.getElementById('chart-blob-' + v.blob).textContent);
    if (v.type === 'u8') return new Uint8Array(buffer);
    if (v.type === 'u16') return new Uint16Array(buffer);
    if (v.type === 'f64') return new Float64Array(buffer);
    return new Float32Array(buffer);
  }

  // The decimal a float holds with the fewest digits: 0.1f reads 0.1.
  function shortestFloat(f) {
    for (var p = 1; p < 10; p++) {
      var v = parseFloat(f.toPrecision(p));
      if (Math.fround(v) === f) return v;
    }
    return f;
  }

  // A column's values, decoded when first asked for: tooltips need them,
  // the first paint does not.
  function column(c) {
    if (!c.array) c.array = arrayOf(c.values);
    return c.array;
  }

  function valueAt(c, i) {
    var raw = column(c)[i], type = c.values.type;
    if ((type === 'u8' && raw === 255) || (type === 'u16' && raw === 65535)) return NaN;
    if (type === 'u8' || type === 'u16') return raw;
    if (c.values.base === 0 && type === 'f32') return shortestFloat(raw);
    return c.values.base + raw;
  }

  // ---- Number and date formats, as the renderer's ------------------------

  var PLAIN = {
    min: -1, max: -1, grouping: false, groupSep: ',', decimalSep: '.', prefix: '', suffix: '',
    scientific: false, minInt: 0, negPrefix: '-', negSuffix: ''
  };

  // The shortest decimal of |v| as digits d (no leading zeros) and exponent
  // e, value = 0.d × 10^e.
  function decimalOf(v) {
    var s = Math.abs(v).toExponential(), at = s.indexOf('e');
    var digits = s.slice(0, at).replace('.', ''), exponent = parseInt(s.slice(at + 1), 10) + 1;
    digits = digits.replace(/0+$/, '');
    if (digits === '') return { d: '0', e: 1 };
    return { d: digits, e: exponent };
  }

  function increment(text) {
    var chars = text.split(''), i = chars.length - 1;
    for (; i >= 0; i--) {
      if (chars[i] === '9') { chars[i] = '0'; continue; }
      chars[i] = String.fromCharCode(chars[i].charCodeAt(0) + 1);
      return chars.join('');
    }
    return '1' + chars.join('');
  }

  // Integer and fraction digits of |v| rounded half away from zero to
  // `keep` fraction digits.
  function rounded(dec, keep) {
    var whole, fraction;
    if (dec.e <= 0) {
      whole = '0';
      fraction = new Array(-dec.e + 1).join('0') + dec.d;
    } else if (dec.e >= dec.d.length) {
      whole = dec.d + new Array(dec.e - dec.d.length + 1).join('0');
      fraction = '';
    } else {
      whole = dec.d.slice(0, dec.e);
      fraction = dec.d.slice(dec.e);
    }
    if (fraction.length > keep) {
      var up = fraction.charAt(keep) >= '5';
      fraction = fraction.slice(0, keep);
      if (up) {
        var all = increment(whole + fraction);
        whole = all.slice(0, all.length - keep);
        fraction = all.slice(all.length - keep);
      }
    }
    while (fraction.length < keep) fraction += '0';
    return { whole: whole.replace(/^0+(?=\d)/, ''), fraction: fraction };
  }

  function trimmed(fraction, least) {
    while (fraction.length > least && fraction.charAt(fraction.length - 1) === '0') {
      fraction = fraction.slice(0, -1);
    }
    return fraction;
  }

  function formatNumber(v, f, fractionDigits) {
    if (isNaN(v)) return '';
    if (!isFinite(v)) return v > 0 ? '\u221e' : '-\u221e';
    var least = Math.max(f.min, 0), dec = decimalOf(v), exponent = 0, r;
    if (f.scientific && v !== 0) {
      exponent = dec.e - 1;
      dec = { d: dec.d, e: 1 };
    }
    if (fractionDigits >= 0) {
      r = rounded(dec, Math.min(Math.max(fractionDigits, least), 340));
    } else if (f.max >= 0) {
      r = rounded(dec, Math.min(f.max, 340));
      r.fraction = trimmed(r.fraction, least);
    } else {
      r = rounded(dec, Math.max(0, Math.min(15 - dec.e, 340)));
      r.fraction = trimmed(r.fraction, Math.min(least, 340));
      while (r.fraction.length < Math.min(least, 340)) r.fraction += '0';
    }
    if (f.scientific && r.whole.length > 1) {  // 9.99 rounded to 10.0
      exponent += 1;
      r = { whole: r.whole.charAt(0), fraction: (r.whole.slice(1) + r.fraction).slice(0, r.fraction.length) };
    }
    var whole = r.whole;
    if (!f.scientific) {
      while (whole.length < f.minInt) whole = '0' + whole;
      if (f.grouping) whole = whole.replace(/\B(?=(\d{3})+(?!\d))/g, '\u0000').split('\u0000').join(f.groupSep);
    }
    var text = whole + (r.fraction ? f.decimalSep + r.fraction : '');
    if (f.scientific) {
      var e = Math.abs(exponent);
      text += 'E' + (exponent < 0 ? '-' : '+') + (e < 10 ? '0' : '') + e;
    }
    var zero = /^[0]*$/.test(r.whole + r.fraction);
    if (v < 0 && !zero) return f.negPrefix + f.prefix + text + f.suffix + f.negSuffix;
    return f.prefix + text + f.suffix;
  }

  var MONTHS = ['January', 'February', 'March', 'April', 'May', 'June', 'July', 'August',
    'September', 'October', 'November', 'December'];
  var DAYS = ['Sunday', 'Monday', 'Tuesday', 'Wednesday', 'Thursday', 'Friday', 'Saturday'];
  var EPOCH = Date.UTC(1582, 9, 14);

  function pad(n, width) {
    var s = String(n);
    while (s.length < width) s = '0' + s;
    return s;
  }

  // Seconds since 1582-10-14 by a pattern of the renderer's letters.
  function formatDate(seconds, pattern) {
    if (!isFinite(seconds)) return '';
    var finest = 0, m = pattern.match(/S+/g);
    if (m) m.forEach(function (run) { finest = Math.max(finest, run.length); });
    var unit = Math.pow(10, -Math.min(finest, 3));
    var total = Math.round(seconds / unit) * unit;
    var whole = Math.floor(total), fraction = total - whole;
    var d = new Date(EPOCH + whole * 1000);
    var out = '', i = 0;
    while (i < pattern.length) {
      var c = pattern.charAt(i);
      if (c === "'") {
        var end = i + 1, text = '';
        if (pattern.charAt(end) === "'") { out += "'"; i += 2; continue; }
        while (end < pattern.length) {
          if (pattern.charAt(end) === "'") {
            if (pattern.charAt(end + 1) === "'") { text += "'"; end += 2; continue; }
            break;
          }
          text += pattern.charAt(end++);
        }
        out += text;
        i = end + 1;
        continue;
      }
      var n = 1;
      while (pattern.charAt(i + n) === c) n++;
      i += n;
      var year = d.getUTCFullYear(), month = d.getUTCMonth(), hour = d.getUTCHours();
      switch (c) {
        case 'y': out += n === 2 ? pad(((year % 100) + 100) % 100, 2) : pad(year, n); break;
        case 'M': out += n >= 4 ? MONTHS[month] : n === 3 ? MONTHS[month].slice(0, 3) : pad(month + 1, n); break;
        case 'd': out += pad(d.getUTCDate(), n); break;
        case 'D':
          out += pad(Math.floor((Date.UTC(year, month, d.getUTCDate()) - Date.UTC(year, 0, 1)) / 864e5) + 1, n);
          break;
        case 'H': out += pad(hour, n); break;
        case 'h': out += pad(hour % 12 === 0 ? 12 : hour % 12, n); break;
        case 'a': out += hour < 12 ? 'AM' : 'PM'; break;
        case 'm': out += pad(d.getUTCMinutes(), n); break;
        case 's': out += pad(d.getUTCSeconds(), n); break;
        case 'S': out += pad(Math.round(fraction * Math.pow(10, n)) % Math.pow(10, n), n); break;
        case 'E': out += n >= 4 ? DAYS[d.getUTCDay()] : DAYS[d.getUTCDay()].slice(0, 3); break;
        case 'Q': case 'q': out += String(Math.floor(month / 3) + 1); break;
        default: out += new Array(n + 1).join(c);
      }
    }
    return out;
  }

  function formatValue(v, format, fractionDigits) {
    if (format.kind === 'date') return formatDate(v, format.pattern);
    return formatNumber(v, format.kind === 'number' ? format : PLAIN,
      fractionDigits === undefined ? -1 : fractionDigits);
  }

  // ---- Nice ticks: the renderer's extended Wilkinson search --------------

  var Q = [1, 5, 2, 2.5, 4, 3], QTENTHS = [10, 50, 20, 25, 40, 30];

  function decimalValue(mantissa, exponent) {
    var v = parseFloat(mantissa + 'e' + exponent);
    if (!isFinite(v) || (v === 0 && mantissa !== 0)) return null;
    return v;
  }

  function ilogb(x) {
    x = Math.abs(x);
    var e = Math.floor(Math.log2(x));
    if (Math.pow(2, e) > x) e--;
    if (Math.pow(2, e + 1) <= x) e++;
    return e;
  }

  function scaledPow10(exponent, shift) {
    var half = exponent < 0 ? Math.ceil(exponent / 2) : Math.floor(exponent / 2);
    return Math.pow(10, half) * Math.pow(2, -shift) * Math.pow(10, exponent - half);
  }

  function fractionDigitsFor(step) {
    if (!isFinite(step) || step === 0) return 0;
    var s = Math.abs(step).toExponential(), at = s.indexOf('e');
    var digits = s.slice(0, at).replace('.', '').length;
    return Math.min(Math.max(digits - 1 - parseInt(s.slice(at + 1), 10), 0), 15);
  }

  function niceTicks(lo, hi, target) {
    var m = Math.min(Math.max(target, 2), 100);
    if (lo > hi) { var t = lo; lo = hi; hi = t; }
    if (lo === hi) {
      if (lo === 0) { lo = -1; hi = 1; } else { var dd = 0.1 * Math.abs(lo); hi = lo + dd; lo -= dd; }
    }
    var shift = ilogb(hi - lo);
    var dmin = lo * Math.pow(2, -shift), dmax = hi * Math.pow(2, -shift), range = dmax - dmin;
    var tol = range * 1e-9 * Math.pow(2, shift), log10Scale = shift * Math.log10(2);
    var minStep = Math.max(Math.abs(dmin), Math.abs(dmax)) * Math.pow(2, -50);
    var maxK = 8 * m + 16, bestScore = -2, best = null, bestValues = null;
    function simplicity(q, j, zero) { return 1 - q / 5 - j + (zero ? 1 : 0); }
    function coverage(lmin, lmax) {
      return 1 - 0.5 * ((dmax - lmax) * (dmax - lmax) + (dmin - lmin) * (dmin - lmin)) /
        ((0.1 * range) * (0.1 * range));
    }
    function coverageMax(span) {
      if (span <= range) return 1;
      var half = (span - range) / 2;
      return 1 - half * half / ((0.1 * range) * (0.1 * range));
    }
    function density(k, lmin, lmax) {
      var r = (k - 1) / (lmax - lmin), rt = (m - 1) / (Math.max(lmax, dmax) - Math.min(dmin, lmin));
      return 2 - Math.max(r / rt, rt / r);
    }
    function densityMax(k) { return k >= m ? 2 - (k - 1) / (m - 1) : 1; }
    function inside(l) {
      var values = [];
      for (var i = 0; i < l.k; i++) {
        var v = decimalValue((l.start + i * l.j) * QTENTHS[l.q], l.exponent);
        if (v === null || v < lo - tol || v > hi + tol) continue;
        if (values.length && v <= values[values.length - 1]) return null;
        values.push(v === 0 ? 0 : v);
      }
      return values.length < 2 ? null : values;
    }
    var done = false;
    for (var j = 1; j <= 16 && !done; j++) {
      for (var q = 0; q < 6; q++) {
        var sm = simplicity(q, j, true);
        if (0.25 * sm + 0.2 + 0.5 + 0.05 < bestScore) { done = true; break; }
        var zMin = -Infinity;
        if (minStep > 0) {
          zMin = Math.floor(Math.log10(minStep / (j * Q[q])) + log10Scale);
          while (j * Q[q] * scaledPow10(zMin, shift) < minStep) zMin++;
          if (j * Q[q] * scaledPow10(zMin, shift) > range * (1 + 4e-9)) continue;
        }
        for (var k = 2; k <= maxK; k++) {
          var dm = densityMax(k);
          if (0.25 * sm + 0.2 + 0.5 * dm + 0.05 < bestScore) break;
          var delta = range / (k + 1) / j / Q[q];
          var z = Math.max(Math.ceil(Math.log10(delta) + log10Scale), zMin);
          for (var zStep = 0; zStep < 40; zStep++, z++) {
            var unit = Q[q] * scaledPow10(z, shift), step = j * unit;
            if (!(step >= minStep)) continue;
            if (step > range * (1 + 4e-9)) break;
            var cm = coverageMax(step * (k - 1));
            if (0.25 * sm + 0.2 * cm + 0.5 * dm + 0.05 < bestScore) break;
            var minStart = Math.floor(dmax / step) * j - (k - 1) * j;
            var maxStart = Math.ceil(dmin / step) * j;
            if (minStart > maxStart) continue;
            if (!(Math.abs(minStart) < 4e15 && Math.abs(maxStart) < 4e15)) continue;
            for (var start = minStart; start <= maxStart; start++) {
              var lmin = start * unit, lmax = lmin + step * (k - 1);
              var zero = start % j === 0 && start <= 0 && start + (k - 1) * j >= 0;
              var score = 0.25 * simplicity(q, j, zero) + 0.2 * coverage(lmin, lmax) +
                0.5 * density(k, lmin, lmax) + 0.05;
              if (!(score > bestScore)) continue;
              var candidate = { start: start, j: j, q: q, k: k, exponent: z - 1 };
              var values = inside(candidate);
              if (values) { best = candidate; bestValues = values; bestScore = score; }
            }
          }
        }
      }
    }
    if (!bestValues) return { values: [lo, hi], fractionDigits: 0 };
    var digits = 0;
    bestValues.forEach(function (v) { digits = Math.max(digits, fractionDigitsFor(v)); });
    return { values: bestValues, fractionDigits: digits };
  }

  // ---- Log ticks: the renderer's rule for base-10 log axes ----------------

  // 10^exponent: 0 below the subnormals, infinity above the largest double.
  function powerOfTen(exponent) {
    if (exponent > 308) return Infinity;
    var v = decimalValue(1, exponent);
    return v === null ? 0 : v;
  }

  // Powers of ten every 1, 2, 5, 10, ... decades, or 1, 2, 5 or 1..9 times
  // each power: the count nearest the target within 1.5 times it, else nice
  // ticks when none gives half the target.
  function logTicks(lo, hi, target) {
    var m = Math.min(Math.max(target, 2), 100);
    var loUsable = isFinite(lo) && lo > 0, hiUsable = isFinite(hi) && hi > 0;
    if (!loUsable && !hiUsable) { lo = 1; hi = 10; } else if (!loUsable) lo = hi; else if (!hiUsable) hi = lo;
    if (lo > hi) { var t = lo; lo = hi; hi = t; }
    if (lo === hi) return niceTicks(lo, hi, m);
    var loLimit = lo * (1 - 1e-9), hiLimit = Math.min(hi * (1 + 1e-9), Number.MAX_VALUE);
    var cap = Math.max(m + 1, Math.floor(m * 3 / 2));
    var first = Math.ceil(Math.log10(lo));
    while (first > -330 && powerOfTen(first - 1) >= loLimit) first--;
    while (first < 310 && powerOfTen(first) < loLimit) first++;
    var last = Math.floor(Math.log10(hi));
    while (last < 310 && powerOfTen(last + 1) <= hiLimit) last++;
    while (last > -330 && powerOfTen(last) > hiLimit) last--;
    var candidates = [], e, i, v;
    for (var scale = 1; scale <= 10000; scale *= 10) {
      [1, 2, 5].forEach(function (mantissa) {
        var d = scale * mantissa;
        candidates.push({ decades: d, count: Math.floor(last / d) - Math.ceil(first / d) + 1 });
      });
    }
    if (last - (first - 1) <= 40) {
      [[1, 2, 5], [1, 2, 3, 4, 5, 6, 7, 8, 9]].forEach(function (multiples) {
        var c = { multiples: multiples, count: 0 };
        for (e = first - 1; e <= last; e++) {
          for (i = 0; i < multiples.length; i++) {
            v = decimalValue(multiples[i], e);
            if (v !== null && v >= loLimit && v <= hiLimit) c.count++;
          }
        }
        candidates.push(c);
      });
    }
    var chosen = null;
    candidates.forEach(function (c) {
      if (c.count < 2 || c.count > cap) return;
      if (!chosen || Math.abs(c.count - m) < Math.abs(chosen.count - m)) chosen = c;
    });
    if (!chosen || chosen.count < Math.floor((m + 1) / 2)) return niceTicks(lo, hi, m);
    var values = [];
    if (chosen.decades) {
      for (e = Math.ceil(first / chosen.decades) * chosen.decades; e <= last; e += chosen.decades) values.push(powerOfTen(e));
    } else {
      for (e = first - 1; e <= last; e++) {
        for (i = 0; i < chosen.multiples.length; i++) {
          v = decimalValue(chosen.multiples[i], e);
          if (v !== null && v >= loLimit && v <= hiLimit) values.push(v);
        }
      }
    }
    var digits = 0;
    values.forEach(function (x) { digits = Math.max(digits, fractionDigitsFor(x)); });
    return { values: values, fractionDigits: digits };
  }

  // ---- Calendar ticks: the renderer's date axis rule ----------------------

  var DAY = 86400, FIRST_MONDAY = 4 * DAY;
  var FIXED_STEPS = [
    ['s', 1, 1], ['s', 5, 5], ['s', 15, 15], ['s', 30, 30],
    ['m', 1, 60], ['m', 5, 300], ['m', 15, 900], ['m', 30, 1800],
    ['h', 1, 3600], ['h', 3, 10800], ['h', 6, 21600], ['h', 12, 43200],
    ['d', 1, DAY], ['d', 2, 2 * DAY], ['w', 1, 7 * DAY, FIRST_MONDAY]];

  // The seconds of the first instant of a month (1-12) of a year.
  function monthStart(year, month) {
    var d = new Date(0);
    d.setUTCFullYear(year, month - 1, 1);
    return (d.getTime() - EPOCH) / 1000;
  }

  // Ticks on calendar steps, as the pictures' date axes place them: fixed
  // steps from a second to a week counted from the epoch's midnight (weeks
  // on Mondays), months and quarters on the 1st, years on 1 January of years
  // divisible by the step; the count nearest the target within 1.5 times it.
  function dateTicks(lo, hi, target) {
    var m = Math.min(Math.max(target, 2), 100);
    if (lo > hi) { var t = lo; lo = hi; hi = t; }
    if (lo === hi) { lo -= DAY; hi += DAY; }
    // Beyond what the browser's calendar holds: plain seconds.
    if (lo < -8e12 || hi > 8e12) return niceTicks(lo, hi, m);
    var a = new Date(EPOCH + lo * 1000), b = new Date(EPOCH + hi * 1000);
    var ay = a.getUTCFullYear(), am = a.getUTCMonth() + 1, by = b.getUTCFullYear();
    var firstMonth = ay * 12 + am - 1 + (monthStart(ay, am) < lo ? 1 : 0);
    var lastMonth = by * 12 + b.getUTCMonth();
    var firstYear = ay + (monthStart(ay, 1) < lo ? 1 : 0), lastYear = by;
    var steps = FIXED_STEPS.map(function (s) { return { seconds: s[2], offset: s[3] || 0 }; });
    steps.push({ months: 1 }, { months: 3 });
    function count(s) {
      if (s.seconds) return Math.floor((hi - s.offset) / s.seconds) - Math.ceil((lo - s.offset) / s.seconds) + 1;
      if (s.months) return Math.floor(lastMonth / s.months) - Math.ceil(firstMonth / s.months) + 1;
      return Math.floor(lastYear / s.years) - Math.ceil(firstYear / s.years) + 1;
    }
    for (var scale = 1, more = true; more && scale <= 1e12; scale *= 10) {
      [10, 20, 25, 50].forEach(function (tenths) {
        if (tenths === 25 && scale === 1) return;
        steps.push({ years: scale * tenths / 10 });
        if (count(steps[steps.length - 1]) <= 1) more = false;
      });
    }
    var cap = Math.max(m + 1, Math.floor(m * 3 / 2)), best = null, bestCount = 0, fewest = null, fewestCount = 0;
    steps.forEach(function (s) {
      var n = count(s);
      if (n < 2) return;
      if (n <= cap && (!best || Math.abs(n - m) <= Math.abs(bestCount - m))) { best = s; bestCount = n; }
      if (!fewest || n <= fewestCount) { fewest = s; fewestCount = n; }
    });
    best = best || fewest;
    if (!best) return niceTicks(lo, hi, m);
    var values = [], k;
    if (best.seconds) {
      for (k = Math.ceil((lo - best.offset) / best.seconds); k <= Math.floor((hi - best.offset) / best.seconds); k++) {
        values.push(best.offset + k * best.seconds);
      }
    } else if (best.months) {
      for (k = Math.ceil(firstMonth / best.months) * best.months; k <= lastMonth; k += best.months) {
        values.push(monthStart(Math.floor(k / 12), k - Math.floor(k / 12) * 12 + 1));
      }
    } else {
      for (k = Math.ceil(firstYear / best.years) * best.years; k <= lastYear; k += best.years) {
        values.push(monthStart(k, 1));
      }
    }
    return { values: values, fractionDigits: 0, unit: best.seconds || (best.months ? 'month' : 'year') };
  }

  // A date axis's pattern, made finer when zoomed ticks fall closer than it
  // shows: a pattern of years alone would label each month's tick alike.
  function datePattern(pattern, unit) {
    var has = function (letters) { return letters.split('').some(function (c) { return pattern.indexOf(c) >= 0; }); };
    if (unit === 'year' || unit === undefined) return pattern;
    if (unit === 'month') return has('M') ? pattern : 'MMM yyyy';
    if (unit >= DAY) return has('d') ? pattern : 'd MMM yyyy';
    if (unit >= 60) return has('Hh') && has('m') ? pattern : 'd MMM HH:mm';
    return has('s') ? pattern : 'HH:mm:ss';
  }

  // ---- Points -----------------------------------------------------------

  var batches = data.batches.map(function (b, index) {
    var n = b.count, qx = arrayOf(b.x), qy = arrayOf(b.y);
    var x = new Float32Array(n), y = new Float32Array(n);
    for (var i = 0; i < n; i++) {
      x[i] = b.x.origin + qx[i] * b.x.step;
      y[i] = b.y.origin + qy[i] * b.y.step;
    }
    b.px = x;
    b.py = y;
    b.colors = b.color ? arrayOf(b.color) : null;
    b.groupData = b.columns && b.groupColumn >= 0 ? b.columns[b.groupColumn] : null;
    b.holder = svg.querySelector('g[data-batch="' + index + '"]');
    return b;
  });

  function css(c) { return 'rgba(' + c[0] + ',' + c[1] + ',' + c[2] + ',' + (c[3] / 255) + ')'; }

  function groupOf(b, i) {
    if (!b.groupData) return -1;
    var code = column(b.groupData)[i];
    return code === (b.groupData.values.type === 'u8' ? 255 : 65535) ? -1 : code;
  }

  function tipLines(b, i) {
    return (b.columns || []).map(function (c) {
      var v = valueAt(c, i), text;
      if (c.labels) text = isNaN(v) ? '' : (c.labels[v] === undefined ? '' : c.labels[v]);
      else text = formatValue(v, c.format);
      return [c.title, text];
    });
  }

  function markPath(b) {
    var h = b.size / 2, p = b.polygon, d = '';
    if (b.shape === 'cross') return 'M' + -h + ' ' + -h + 'L' + h + ' ' + h + 'M' + -h + ' ' + h + 'L' + h + ' ' + -h;
    if (b.shape === 'plus') return 'M' + -h + ' 0L' + h + ' 0M0 ' + -h + 'L0 ' + h;
    for (var v = 0; v < p.length; v += 2) d += (v ? 'L' : 'M') + p[v] + ' ' + p[v + 1];
    return d + 'Z';
  }

  function buildElements(b) {
    var lines = b.shape === 'cross' || b.shape === 'plus';
    var d = b.shape === 'circle' ? null : markPath(b);
    b.nodes = [];
    for (var i = 0; i < b.count; i++) {
      var color = b.palette[b.colors ? b.colors[i] : 0], node;
      if (d === null) {
        node = document.createElementNS(NS, 'circle');
        node.setAttribute('r', b.size / 2);
      } else {
        node = document.createElementNS(NS, 'path');
        node.setAttribute('d', d);
      }
      if (lines) {
        node.setAttribute('fill', 'none');
        node.setAttribute('stroke', css(color));
        node.setAttribute('stroke-width', b.lineWidth);
      } else {
        node.setAttribute('fill', css(color));
        if (b.outline) {
          node.setAttribute('stroke', css(b.outline));
          node.setAttribute('stroke-width', b.outlineWidth);
        }
      }
      node.setAttribute('data-i', i);
      if (groupOf(b, i) >= 0) node.setAttribute('data-group', groupOf(b, i));
      if (data.tabbable) {
        node.setAttribute('tabindex', '0');
        node.setAttribute('role', 'img');
        node.setAttribute('aria-label', tipLines(b, i).map(function (l) { return l[0] + ': ' + l[1]; }).join(', '));
      }
      b.holder.appendChild(node);
      b.nodes.push(node);
    }
  }

  // Big batches: one canvas over the picture, marks stamped from a sprite
  // per colour, found again through a grid of cells over their positions.
  var CELL = 16;

  function buildCanvas(b) {
    var ratio = window.devicePixelRatio || 1;
    var fo = document.createElementNS(NS, 'foreignObject');
    fo.setAttribute('width', data.width);
    fo.setAttribute('height', data.height);
    var canvas = document.createElement('canvas');
    canvas.width = Math.ceil(data.width * ratio);
    canvas.height = Math.ceil(data.height * ratio);
    canvas.style.width = data.width + 'px';
    canvas.style.height = data.height + 'px';
    fo.appendChild(canvas);
    b.holder.appendChild(fo);
    b.canvas = canvas;
    b.ratio = ratio;
    b.sprites = b.palette.map(function (color) { return sprite(b, color, ratio); });
  }

  function sprite(b, color, ratio) {
    var reach = b.size / 2 + (b.outline ? b.outlineWidth : 0) + b.lineWidth + 1;
    var side = 2 * Math.ceil(reach * ratio), canvas = document.createElement('canvas');
    canvas.width = canvas.height = side;
    var g = canvas.getContext('2d');
    g.scale(ratio, ratio);
    g.translate(side / ratio / 2, side / ratio / 2);
    var path = new Path2D();
    if (b.shape === 'circle') path.arc(0, 0, b.size / 2, 0, 2 * Math.PI);
    else path = new Path2D(markPath(b));
    if (b.shape === 'cross' || b.shape === 'plus') {
      g.strokeStyle = css(color);
      g.lineWidth = b.lineWidth;
      g.stroke(path);
    } else {
      g.fillStyle = css(color);
      g.fill(path);
      if (b.outline) {
        g.strokeStyle = css(b.outline);
        g.lineWidth = b.outlineWidth;
        g.stroke(path);
      }
    }
    return { canvas: canvas, half: side / 2 };
  }

  function buildGrid(b) {
    var columns = Math.ceil(data.width / CELL) + 2, rows = Math.ceil(data.height / CELL) + 2;
    var cells = columns * rows, counts = new Uint32Array(cells + 1), cellOf = new Uint32Array(b.count);
    for (var i = 0; i < b.count; i++) {
      var cx = Math.min(columns - 1, Math.max(0, Math.floor(b.px[i] / CELL) + 1));
      var cy = Math.min(rows - 1, Math.max(0, Math.floor(b.py[i] / CELL) + 1));
      cellOf[i] = cy * columns + cx;
      counts[cellOf[i] + 1]++;
    }
    for (var c = 0; c < cells; c++) counts[c + 1] += counts[c];
    var items = new Uint32Array(b.count), fill = counts.slice(0, cells);
    for (i = 0; i < b.count; i++) items[fill[cellOf[i]]++] = i;
    b.grid = { columns: columns, rows: rows, starts: counts, items: items };
  }

  // The visible mark of a canvas batch nearest (sx, sy) on screen within
  // its radius and a few pixels, or -1; searched in the original pixels.
  function nearest(b, sx, sy) {
    if (!b.grid) buildGrid(b);
    var view = viewOf(b), g = b.grid, ox = (sx - view.bx) / view.ax, oy = (sy - view.by) / view.ay;
    var reach = b.size / 2 + 3, rx = reach / view.ax, ry = reach / view.ay;
    var c0 = Math.max(0, Math.floor((ox - rx) / CELL) + 1), c1 = Math.min(g.columns - 1, Math.floor((ox + rx) / CELL) + 1);
    var r0 = Math.max(0, Math.floor((oy - ry) / CELL) + 1), r1 = Math.min(g.rows - 1, Math.floor((oy + ry) / CELL) + 1);
    var best = -1, bestDistance = reach * reach;
    for (var r = r0; r <= r1; r++) {
      for (var c = c0; c <= c1; c++) {
        var cell = r * g.columns + c;
        for (var k = g.starts[cell]; k < g.starts[cell + 1]; k++) {
          var i = g.items[k];
          if (hidden[groupOf(b, i)]) continue;
          var dx = b.px[i] * view.ax + view.bx - sx, dy = b.py[i] * view.ay + view.by - sy;
          var dist = dx * dx + dy * dy;
          if (dist <= bestDistance) { bestDistance = dist; best = i; }
        }
      }
    }
    return best;
  }

  // A sprite's pixels that are not clear, premultiplied 0..1: the canvas
  // draws the marker once, the stamping below copies it a million times
  // (drawImage per point is far slower without a GPU).
  function spritePixels(s) {
    var side = s.canvas.width, rgba = s.canvas.getContext('2d').getImageData(0, 0, side, side).data;
    var at = [], color = [];
    for (var p = 0; p < side * side; p++) {
      var a = rgba[4 * p + 3] / 255;
      if (a === 0) continue;
      at.push((p % side) - Math.floor(side / 2), Math.floor(p / side) - Math.floor(side / 2));
      color.push(rgba[4 * p] / 255 * a, rgba[4 * p + 1] / 255 * a, rgba[4 * p + 2] / 255 * a, a);
    }
    return { at: new Int32Array(at), color: new Float32Array(color), reach: side / 2 + 1 };
  }

  function drawCanvas(b) {
    var w = b.canvas.width, h = b.canvas.height, ratio = b.ratio;
    if (!b.pixels) {
      b.pixels = new Float32Array(w * h * 4);
      b.stamps = b.sprites.map(spritePixels);
    }
    var out = b.pixels, stamps = b.stamps, colors = b.colors;
    out.fill(0);
    var view = viewOf(b), panel = b.panel ? b.panel.rect : null;
    var ax = view.ax * ratio, bx = view.bx * ratio, ay = view.ay * ratio, by = view.by * ratio;
    var x0 = 0, y0 = 0, x1 = w, y1 = h;
    if (panel) {
      x0 = Math.max(0, Math.floor(panel[0] * ratio));
      y0 = Math.max(0, Math.floor(panel[1] * ratio));
      x1 = Math.min(w, Math.ceil((panel[0] + panel[2]) * ratio));
      y1 = Math.min(h, Math.ceil((panel[1] + panel[3]) * ratio));
    }
    var anyHidden = Object.keys(hidden).length > 0;
    for (var i = 0; i < b.count; i++) {
      if (anyHidden && hidden[groupOf(b, i)]) continue;
      var cx = Math.round(b.px[i] * ax + bx), cy = Math.round(b.py[i] * ay + by);
      var stamp = stamps[colors ? colors[i] : 0], at = stamp.at, color = stamp.color;
      var r = stamp.reach;
      if (cx < x0 - r || cy < y0 - r || cx > x1 + r || cy > y1 + r) continue;
      // Wholly inside the clip (most points): no test per pixel.
      var inside = cx >= x0 + r && cy >= y0 + r && cx < x1 - r && cy < y1 - r, base = cy * w + cx;
      for (var k = 0, n = at.length; k < n; k += 2) {
        var o;
        if (inside) {
          o = (base + at[k + 1] * w + at[k]) * 4;
        } else {
          var px = cx + at[k], py = cy + at[k + 1];
          if (px < x0 || py < y0 || px >= x1 || py >= y1) continue;
          o = (py * w + px) * 4;
        }
        var c = k * 2, keep = 1 - color[c + 3];
        out[o] = color[c] + out[o] * keep;
        out[o + 1] = color[c + 1] + out[o + 1] * keep;
        out[o + 2] = color[c + 2] + out[o + 2] * keep;
        out[o + 3] = color[c + 3] + out[o + 3] * keep;
      }
    }
    var g = b.canvas.getContext('2d'), image = g.createImageData(w, h), rgba = image.data;
    for (var p = 0, m = w * h * 4; p < m; p += 4) {
      var a = out[p + 3];
      if (a <= 0) continue;
      rgba[p] = out[p] / a * 255;
      rgba[p + 1] = out[p + 1] / a * 255;
      rgba[p + 2] = out[p + 2] / a * 255;
      rgba[p + 3] = a * 255;
    }
    g.putImageData(image, 0, 0);
  }

  // ---- The view: zoom and pan of continuous axes --------------------------

  // Each panel that zooms (the outermost clip group of its marks, named by
  // its axes and point batches) keeps its own view; at most one axis each
  // way. Positions are linear in an axis's scale values t(v): v, log10(v),
  // or sign(v)·|v|^p, so the marks follow by one matrix per panel.
  var IDENTITY = { ax: 1, bx: 0, ay: 1, by: 0 };
  var panels = [], panelOf = {};
  data.axes.forEach(function (a) {
    var p = panelOf[a.clipGroup];
    if (!p) {
      p = panelOf[a.clipGroup] = { index: panels.length, group: a.clipGroup, rect: a.panel, across: null, up: null, view: IDENTITY };
      panels.push(p);
    }
    if (a.vertical) p.up = a; else p.across = a;
    a.owner = p;
    a.tlo = scaled(a, a.lo);
    a.thi = scaled(a, a.hi);
    restore(a);
  });
  var single = panels.length === 1, current = panels[0] || null;
  batches.forEach(function (b) { b.panel = panelOf[b.clipGroup] || null; });

  function scaled(a, v) {
    if (a.log) return Math.log10(v);
    if (a.exponent !== 1) return Math.sign(v) * Math.pow(Math.abs(v), a.exponent);
    return v;
  }

  function unscaled(a, t) {
    if (a.log) return Math.pow(10, t);
    if (a.exponent !== 1) return Math.sign(t) * Math.pow(Math.abs(t), 1 / a.exponent);
    return t;
  }

  function restore(a) {
    a.tfrom = a.tlo;
    a.tto = a.thi;
    a.from = a.lo;
    a.to = a.hi;
  }

  function axesOf(p) { return [p.across, p.up].filter(function (a) { return a; }); }

  function viewOf(b) { return b.panel ? b.panel.view : IDENTITY; }

  function zoomed(p) {
    return axesOf(p).some(function (a) { return a.tfrom !== a.tlo || a.tto !== a.thi; });
  }

  function valueAtPixel(a, pixel) {
    var share = a.vertical ? (a.start - pixel) / a.length : (pixel - a.start) / a.length;
    return a.tfrom + share * (a.tto - a.tfrom);
  }

  function updateView(p) {
    var view = { ax: 1, bx: 0, ay: 1, by: 0 }, across = p.across, up = p.up;
    if (across) {
      view.ax = (across.thi - across.tlo) / (across.tto - across.tfrom);
      view.bx = across.start - across.start * view.ax + (across.tlo - across.tfrom) / (across.tto - across.tfrom) * across.length;
    }
    if (up) {
      view.ay = (up.thi - up.tlo) / (up.tto - up.tfrom);
      view.by = up.start - up.start * view.ay - (up.tlo - up.tfrom) / (up.tto - up.tfrom) * up.length;
    }
    p.view = view;
  }

  var scheduled = false, dirty = [];
  function redraw(p) {
    if (dirty.indexOf(p) < 0) dirty.push(p);
    if (scheduled) return;
    scheduled = true;
    requestAnimationFrame(function () {
      scheduled = false;
      var changed = dirty;
      dirty = [];
      changed.forEach(drawPanel);
      placeTitle();
      hideTip();
    });
  }

  function drawPanel(p) {
    updateView(p);
    var view = p.view, on = zoomed(p);
    var matrix = on ? 'matrix(' + view.ax + ' 0 0 ' + view.ay + ' ' + view.bx + ' ' + view.by + ')' : null;
    p.marks.forEach(function (node) {
      if (matrix) node.setAttribute('transform', matrix); else node.removeAttribute('transform');
    });
    // Zoomed marks stop at the panel's edge, whether or not the picture clips.
    if (p.element) {
      var group = p.element;
      if (!group.hasAttribute('data-clip')) group.setAttribute('data-clip', group.getAttribute('clip-path'));
      group.setAttribute('clip-path', matrix ? 'url(#' + p.clip + ')' : group.getAttribute('data-clip'));
    }
    batches.forEach(function (b) {
      if (b.panel !== p) return;
      if (b.canvas) { drawCanvas(b); return; }
      for (var i = 0; i < b.count; i++) {
        b.nodes[i].setAttribute('transform', 'translate(' + (b.px[i] * view.ax + view.bx) + ' ' + (b.py[i] * view.ay + view.by) + ')');
      }
    });
    axesOf(p).forEach(drawAxis);
  }

  // The ticks of an axis's visible range and their labels, as the pictures
  // choose them: from one tick per 70 pixels (4 to 8) down to 2, the first
  // set of at most 10 whose labels keep 8 pixels apart side by side (2 one
  // above another).
  var measure = null;
  function labelWidth(text, style) {
    if (!measure) {
      measure = document.createElementNS(NS, 'text');
      measure.setAttribute('font-size', '11');
      measure.setAttribute('visibility', 'hidden');
      if (style) measure.setAttribute('font-family', style.getAttribute('font-family'));
      svg.appendChild(measure);
    }
    measure.textContent = text;
    return measure.getComputedTextLength();
  }

  function fittingTicks(a) {
    var last = null;
    for (var target = Math.min(Math.max(Math.round(a.length / 70), 4), 8); target >= 2; target--) {
      var ticks = a.date ? dateTicks(a.from, a.to, target) : a.log ? logTicks(a.from, a.to, target) : niceTicks(a.from, a.to, target);
      var format = Object.assign({}, a.format, { min: -1 });
      if (a.date && format.kind === 'date') format.pattern = datePattern(format.pattern, ticks.unit);
      var labels = ticks.values.map(function (v) { return formatValue(v, format, ticks.fractionDigits); });
      last = { values: ticks.values, labels: labels };
      if (ticks.values.length > 10) continue;
      var fits = true, pixels = a.length / (a.tto - a.tfrom);
      for (var i = 1; fits && i < labels.length; i++) {
        var gap = (scaled(a, ticks.values[i]) - scaled(a, ticks.values[i - 1])) * pixels;
        var need = a.vertical ? 11 + 2 : (labelWidth(labels[i - 1], a.labelStyle) + labelWidth(labels[i], a.labelStyle)) / 2 + 8;
        fits = gap >= need;
      }
      if (fits || !a.labelled) return last;
    }
    return last;
  }

  // A vertical axis's title steps aside when zoomed labels are wider than
  // the picture's, for which its place was chosen: as far as the widest
  // overflow of the labelled panels' axes.
  var title = svg.querySelector('.axis-title.y'), titleTransform = null;
  function makeRoom(a, labels) {
    if (!title || !a.labelled) return;
    if (a.widest === undefined) {
      a.widest = 0;
      a.originals.forEach(function (node) {
        if (node.matches('.tick-label')) a.widest = Math.max(a.widest, node.getComputedTextLength());
      });
    }
    var widest = 0;
    labels.forEach(function (text) { widest = Math.max(widest, labelWidth(text, a.labelStyle)); });
    a.shift = zoomed(a.owner) ? Math.max(0, widest - a.widest) * a.outward : 0;
  }

  function placeTitle() {
    if (!title) return;
    if (titleTransform === null) titleTransform = title.getAttribute('transform') || '';
    var shift = 0;
    data.axes.forEach(function (a) { if (a.vertical && a.shift && Math.abs(a.shift) > Math.abs(shift)) shift = a.shift; });
    title.setAttribute('transform', (shift ? 'translate(' + shift + ' 0) ' : '') + titleTransform);
  }

  // The picture's ticks, labels and grid lines of each axis: all of their
  // kind on a single panel; else those along the axis's panel, on its edge
  // (ticks), beyond it (labels) or across it (grid). Found before any hides.
  function findOriginals() {
    var box = svg.getBoundingClientRect(), sx = data.width / box.width, sy = data.height / box.height;
    ['x', 'y'].forEach(function (name) {
      var nodes = Array.prototype.slice.call(svg.querySelectorAll('.tick.' + name + ',.tick-label.' + name + ',.grid.' + name +
        ',.minor-tick.' + name + ',.minor-grid.' + name));
      var mine = data.axes.filter(function (a) { return a.vertical === (name === 'y'); });
      if (single) { mine.forEach(function (a) { a.originals = nodes; }); return; }
      mine.forEach(function (a) { a.originals = []; });
      nodes.forEach(function (node) {
        var r = node.getBoundingClientRect();
        var cx = ((r.left + r.right) / 2 - box.left) * sx, cy = ((r.top + r.bottom) / 2 - box.top) * sy;
        var owner = null, nearest = Infinity;
        mine.forEach(function (a) {
          var p = a.panel, along = a.vertical ? cy : cx, across = a.vertical ? cx : cy;
          var first = a.vertical ? p[1] : p[0], size = a.vertical ? p[3] : p[2];
          if (along < first - 1 || along > first + size + 1) return;
          var beyond = (across - a.edge) * a.outward, inside;
          if (node.matches('.grid,.minor-grid')) {
            inside = a.vertical ? across >= p[0] && across <= p[0] + p[2] : across >= p[1] && across <= p[1] + p[3];
          } else if (node.matches('.tick-label')) {
            inside = beyond >= -2 && beyond <= 80;
          } else {
            inside = Math.abs(beyond) <= 12;
          }
          // The nearest edge wins: a small panel's reach may cover another's labels.
          if (inside && Math.abs(beyond) < nearest) { owner = a; nearest = Math.abs(beyond); }
        });
        if (owner) owner.originals.push(node);
      });
    });
  }

  // An axis's ticks for its visible range: the pictures' rule (one tick
  // per 70 pixels, 4 to 8) and format; the page's own elements replace the
  // picture's while zoomed.
  function drawAxis(a) {
    var name = a.vertical ? 'y' : 'x', originals = a.originals;
    if (!a.layer) {
      var own = function (selector) {
        return originals.filter(function (node) { return node.matches(selector); })[0] || null;
      };
      a.labelStyle = own('.tick-label') || svg.querySelector('.tick-label.' + name);
      a.gridStyle = own('.grid');
      a.tickStyle = own('.tick');
      a.layer = document.createElementNS(NS, 'g');
      a.layer.setAttribute('class', 'zoom-axis ' + name);
      svg.appendChild(a.layer);
      a.gridLayer = document.createElementNS(NS, 'g');
      a.gridLayer.setAttribute('class', 'zoom-grid ' + name);
      var first = single ? svg.querySelector('[clip-path]') : a.owner.element;
      svg.insertBefore(a.gridLayer, a.gridStyle || first || null);
    }
    var on = zoomed(a.owner), shown = on ? fittingTicks(a) : { values: [], labels: [] }, p = a.panel;
    // Measured while the picture's labels still show.
    if (a.vertical) makeRoom(a, shown.labels);
    originals.forEach(function (node) { node.style.display = on ? 'none' : ''; });
    while (a.layer.firstChild) a.layer.removeChild(a.layer.firstChild);
    while (a.gridLayer.firstChild) a.gridLayer.removeChild(a.gridLayer.firstChild);
    if (!on) return;
    shown.values.forEach(function (v, index) {
      var share = (scaled(a, v) - a.tfrom) / (a.tto - a.tfrom);
      var at = Math.floor(a.vertical ? a.start - share * a.length : a.start + share * a.length) + 0.5;
      if (a.gridStyle) {
        var line = document.createElementNS(NS, 'path');
        line.setAttribute('d', a.vertical ? 'M' + p[0] + ' ' + at + 'H' + (p[0] + p[2]) : 'M' + at + ' ' + p[1] + 'V' + (p[1] + p[3]));
        line.setAttribute('stroke', a.gridStyle.getAttribute('stroke'));
        line.setAttribute('class', 'grid ' + name + ' zoomed');
        a.gridLayer.appendChild(line);
      }
      var edge = Math.floor(a.edge) + 0.5, tick = document.createElementNS(NS, 'path');
      tick.setAttribute('d', a.vertical ? 'M' + edge + ' ' + at + 'h' + 5 * a.outward : 'M' + at + ' ' + edge + 'v' + 5 * a.outward);
      tick.setAttribute('stroke', a.tickStyle ? a.tickStyle.getAttribute('stroke') : '#444');
      a.layer.appendChild(tick);
      if (!a.labelled) return;
      var label = document.createElementNS(NS, 'text');
      label.setAttribute('class', 'tick-label ' + name + ' zoomed');
      label.setAttribute('font-size', '11');
      if (a.labelStyle) {
        label.setAttribute('font-family', a.labelStyle.getAttribute('font-family'));
        label.setAttribute('fill', a.labelStyle.getAttribute('fill'));
      }
      if (a.vertical) {
        label.setAttribute('x', a.edge + 8 * a.outward);
        label.setAttribute('y', at);
        label.setAttribute('text-anchor', a.outward < 0 ? 'end' : 'start');
        label.setAttribute('dominant-baseline', 'central');
      } else {
        label.setAttribute('x', at);
        label.setAttribute('y', a.edge + 8 * a.outward);
        label.setAttribute('text-anchor', 'middle');
        label.setAttribute('dominant-baseline', a.outward > 0 ? 'hanging' : 'auto');
      }
      label.textContent = shown.labels[index];
      a.layer.appendChild(label);
    });
  }

  // What a panel draws in data units moves with its view: marks, fitted
  // and reference lines (the paths in its clip group); texts keep their size.
  var shapeMarks = Array.prototype.slice.call(svg.querySelectorAll('g[clip-path] path'));
  shapeMarks.forEach(function (node) { node.setAttribute('vector-effect', 'non-scaling-stroke'); });

  // The outermost clip groups, in the scene's order: one per panel.
  var panelGroups = Array.prototype.filter.call(svg.children, function (node) {
    return node.matches('g[clip-path]');
  });
  panels.forEach(function (p) {
    p.element = panelGroups[p.group] || null;
    p.marks = p.element ? Array.prototype.slice.call(p.element.querySelectorAll('path')) : [];
    p.clip = 'chart-zoom-clip' + (p.index ? '-' + p.index : '');
    var zoomClip = document.createElementNS(NS, 'clipPath');
    zoomClip.setAttribute('id', p.clip);
    var clipRect = document.createElementNS(NS, 'rect');
    clipRect.setAttribute('x', p.rect[0]);
    clipRect.setAttribute('y', p.rect[1]);
    clipRect.setAttribute('width', p.rect[2]);
    clipRect.setAttribute('height', p.rect[3]);
    zoomClip.appendChild(clipRect);
    svg.insertBefore(zoomClip, svg.firstChild);
  });
  if (panels.length) findOriginals();

  function resetView() {
    panels.forEach(function (p) {
      if (!zoomed(p)) return;
      axesOf(p).forEach(restore);
      redraw(p);
    });
  }

  // Sets an axis's visible scale values, unless too narrow or wide to show
  // (or, on a log axis, beyond the doubles).
  function show(a, from, to) {
    var span = to - from, full = a.thi - a.tlo;
    if (!(span > full * 1e-9) || !(span < full * 1e6)) return;
    var vfrom = unscaled(a, from), vto = unscaled(a, to);
    if (!isFinite(vfrom) || !isFinite(vto) || (a.log && !(vfrom > 0))) return;
    a.tfrom = from;
    a.tto = to;
    a.from = vfrom;
    a.to = vto;
  }

  function zoomAbout(p, sx, sy, factor, onlyAcross, onlyUp) {
    axesOf(p).forEach(function (a) {
      if ((a === p.across && onlyUp) || (a === p.up && onlyAcross)) return;
      var at = valueAtPixel(a, a.vertical ? sy : sx);
      show(a, at - (at - a.tfrom) * factor, at + (a.tto - at) * factor);
    });
    redraw(p);
  }

  function pan(p, dx, dy) {
    axesOf(p).forEach(function (a) {
      var shift = (a.vertical ? -dy : dx) / a.length * (a.tto - a.tfrom);
      show(a, a.tfrom - shift, a.tto - shift);
    });
    redraw(p);
  }

  function local(event) {
    var box = svg.getBoundingClientRect();
    return { x: (event.clientX - box.left) * data.width / box.width, y: (event.clientY - box.top) * data.height / box.height };
  }

  function inRect(r, at, margin) {
    return at.x >= r[0] - margin && at.x <= r[0] + r[2] + margin &&
      at.y >= r[1] - margin && at.y <= r[1] + r[3] + margin;
  }

  function panelAt(at) {
    for (var k = 0; k < panels.length; k++) if (inRect(panels[k].rect, at, 0)) return panels[k];
    return null;
  }

  // The panel whose zoom the wheel at `at` asks: the one under it, else
  // the nearest whose x axis lies above it or whose y axis lies right of it
  // (that axis alone zooms).
  function wheelTarget(at) {
    var inside = panelAt(at);
    if (inside) return { panel: inside };
    var best = null, distance = Infinity;
    panels.forEach(function (p) {
      var r = p.rect;
      if (p.across && at.y > r[1] + r[3] && at.x >= r[0] && at.x <= r[0] + r[2] && at.y - r[1] - r[3] < distance) {
        best = { panel: p, onlyAcross: true };
        distance = at.y - r[1] - r[3];
      }
      if (p.up && at.x < r[0] && at.y >= r[1] && at.y <= r[1] + r[3] && r[0] - at.x < distance) {
        best = { panel: p, onlyUp: true };
        distance = r[0] - at.x;
      }
    });
    return best;
  }

  var drag = null, dragged = null;
  if (panels.length) {
    svg.classList.add('zoomable');
    svg.addEventListener('wheel', function (event) {
      var at = local(event), target = wheelTarget(at);
      if (!target) return;
      event.preventDefault();
      current = target.panel;
      zoomAbout(target.panel, at.x, at.y, Math.exp(event.deltaY * 0.002), !!target.onlyAcross, !!target.onlyUp);
    }, { passive: false });
    svg.addEventListener('pointerdown', function (event) {
      var at = local(event), p = panelAt(at);
      if (event.button !== 0 || !p || event.target.closest('[data-group].legend-entry')) return;
      drag = at;
      dragged = current = p;
      svg.classList.add('dragging');
    });
    window.addEventListener('pointermove', function (event) {
      if (!drag) return;
      var at = local(event);
      pan(dragged, at.x - drag.x, at.y - drag.y);
      drag = at;
    });
    window.addEventListener('pointerup', function () { drag = null; svg.classList.remove('dragging'); });
    svg.addEventListener('dblclick', function (event) {
      if (panelAt(local(event))) resetView();
    });
  }

  // ---- Tooltips -----------------------------------------------------------

  function showTip(lines, sx, sy) {
    while (tip.firstChild) tip.removeChild(tip.firstChild);
    lines.forEach(function (line, k) {
      if (k > 0) tip.appendChild(document.createElement('br'));
      if (line.length > 1) {
        var name = document.createElement('b');
        name.textContent = line[0] + ': ';
        tip.appendChild(name);
        tip.appendChild(document.createTextNode(line[1]));
      } else {
        tip.appendChild(document.createTextNode(line[0]));
      }
    });
    tip.hidden = false;
    var box = svg.getBoundingClientRect(), scale = box.width / data.width;
    var left = sx * scale + 12, top = sy * scale + 12;
    if (left + tip.offsetWidth > box.width) left = Math.max(0, sx * scale - tip.offsetWidth - 12);
    if (top + tip.offsetHeight > box.height) top = Math.max(0, sy * scale - tip.offsetHeight - 12);
    tip.style.left = left + 'px';
    tip.style.top = top + 'px';
  }

  function hideTip() { tip.hidden = true; }

  function splitTip(text) {
    return text.split('\n').map(function (line) {
      var at = line.indexOf(': ');
      return at < 0 ? [line] : [line.slice(0, at), line.slice(at + 2)];
    });
  }

  // What lies under a point of the picture: an element with a tooltip, or
  // a mark of a canvas batch.
  function tipFor(target, at) {
    var node = target && target.closest ? target.closest('[data-tip],[data-i]') : null;
    if (node && node.hasAttribute('data-i')) {
      var b = batches[+node.parentNode.getAttribute('data-batch')];
      return { lines: tipLines(b, +node.getAttribute('data-i')) };
    }
    for (var k = batches.length - 1; k >= 0; k--) {
      var batch = batches[k];
      if (!batch.canvas || (batch.panel && !inRect(batch.panel.rect, at, 4))) continue;
      var i = nearest(batch, at.x, at.y);
      if (i >= 0) return { lines: tipLines(batch, i) };
    }
    if (node) return { lines: splitTip(node.getAttribute('data-tip')) };
    return null;
  }

  svg.addEventListener('pointermove', function (event) {
    if (drag) return;
    var at = local(event), found = tipFor(event.target, at);
    if (found) showTip(found.lines, at.x, at.y); else hideTip();
  });
  svg.addEventListener('pointerleave', hideTip);
  svg.addEventListener('focusin', function (event) {
    var node = event.target.closest('[data-tip],[data-i]');
    if (!node) return;
    var box = node.getBoundingClientRect(), outer = svg.getBoundingClientRect();
    var scale = data.width / outer.width;
    var at = { x: (box.right - outer.left) * scale, y: (box.bottom - outer.top) * scale };
    var found = tipFor(node, at);
    if (found) showTip(found.lines, at.x, at.y);
  });
  svg.addEventListener('focusout', hideTip);

  // ---- The legend -----------------------------------------------------------

  function toggle(group) {
    if (hidden[group]) delete hidden[group]; else hidden[group] = true;
    var off = !!hidden[group];
    Array.prototype.forEach.call(svg.querySelectorAll('[data-group="' + group + '"]'), function (node) {
      var legend = node.classList.contains('legend-entry') || node.classList.contains('legend-key');
      if (legend) {
        node.classList.toggle('off', off);
        if (node.classList.contains('legend-entry')) node.setAttribute('aria-pressed', off ? 'false' : 'true');
      } else {
        node.style.display = off ? 'none' : '';
      }
    });
    batches.forEach(function (b) { if (b.canvas) drawCanvas(b); });
    hideTip();
  }

  Array.prototype.forEach.call(svg.querySelectorAll('.legend-entry[data-group]'), function (entry) {
    entry.setAttribute('tabindex', '0');
    entry.setAttribute('role', 'button');
    entry.setAttribute('aria-pressed', 'true');
    entry.setAttribute('aria-label', 'Show ' + entry.textContent);
  });
  svg.addEventListener('click', function (event) {
    var entry = event.target.closest('.legend-entry[data-group],.legend-key[data-group]');
    if (entry) toggle(entry.getAttribute('data-group'));
  });

  document.addEventListener('keydown', function (event) {
    var target = event.target;
    if ((event.key === 'Enter' || event.key === ' ') && target.matches && target.matches('.legend-entry[data-group]')) {
      event.preventDefault();
      toggle(target.getAttribute('data-group'));
    } else if (event.key === 'Escape') {
      hideTip();
      resetView();
    } else if (current && target === svg) {
      // The keys act on the panel last zoomed or dragged (the first at start).
      var step = 20, r = current.rect;
      if (event.key === '+' || event.key === '=') zoomAbout(current, r[0] + r[2] / 2, r[1] + r[3] / 2, 0.8);
      else if (event.key === '-') zoomAbout(current, r[0] + r[2] / 2, r[1] + r[3] / 2, 1.25);
      else if (event.key === 'ArrowLeft') pan(current, step, 0);
      else if (event.key === 'ArrowRight') pan(current, -step, 0);
      else if (event.key === 'ArrowUp') pan(current, 0, step);
      else if (event.key === 'ArrowDown') pan(current, 0, -step);
      else return;
      event.preventDefault();
    }
  });

  // The drawing holds focusable parts: it is a group, named by the page's
  // heading and described by its caption, not a single image.
  svg.setAttribute('role', 'group');
  if (panels.length) {
    svg.setAttribute('tabindex', '0');
    svg.setAttribute('aria-keyshortcuts', '+ - ArrowLeft ArrowRight ArrowUp ArrowDown Escape');
  }

  mark('chart-decoded');
  batches.forEach(function (b) {
    if (!b.holder) return;
    if (b.elements) buildElements(b); else buildCanvas(b);
  });
  panels.forEach(updateView);
  batches.forEach(function (b) {
    if (b.canvas) drawCanvas(b);
    else for (var i = 0; i < b.count; i++) b.nodes[i].setAttribute('transform', 'translate(' + b.px[i] + ' ' + b.py[i] + ')');
  });
  document.documentElement.setAttribute('data-ready', 'true');
  mark('chart-drawn');
  requestAnimationFrame(function () { mark('chart-painted'); });
  // The grids of big batches, built once the marks show: the first hover
  // then need not wait for them.
  setTimeout(function () {
    batches.forEach(function (b) {
      if (b.canvas && !b.grid) buildGrid(b);
      (b.columns || []).forEach(column);
    });
  }, 0);
})();
